#include "host/utf8.h"
#include "tool/commands/commands.h"

namespace velkpci {
namespace {

class QueryCommand final : public Command {
  public:
    void Declare(Parameters& parameters) override {
        parameters.Required("WQL", query_, "The query, as one word in quotes: SELECT ... FROM ... WHERE ...");
    }

    int Run(Context& context) override {
        WmiReader& reader = context.Reader();
        Findings findings{"query", reader.From().Info(), {}, {}};
        ClassData data = reader.Query(velkhost::WideFromUtf8(query_));
        if (FAILED(data.status)) findings.failures.push_back(context.Explain(query_, data.status));
        findings.sections.push_back({query_, std::move(data), false});
        return context.Print(findings);
    }

  private:
    std::string query_;
};

}  // namespace

std::unique_ptr<Command> MakeQueryCommand() { return std::make_unique<QueryCommand>(); }

}  // namespace velkpci
