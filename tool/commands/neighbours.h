#pragma once

#include "tool/app/command.h"
#include "tool/inventory/links.h"

namespace velkpci {

/// What associators and references have in common: an instance by its path, and the associations that name
/// it.
class NeighboursCommand : public Command {
  public:
    void Declare(Parameters& parameters) final {
        parameters.Required("PATH", path_, "The instance: Class.Key=\"value\",...");
    }
    int Run(Context& context) final;

  protected:
    /// Fills the section from the references; `identity` is the target's own.
    virtual void Collect(Context& context, const std::vector<Reference>& references,
                         const std::wstring& identity, Findings& findings) = 0;
    virtual const char* Name() const = 0;   ///< the command's
    virtual const char* Title() const = 0;  ///< "References of "

  private:
    std::string path_;
};

}  // namespace velkpci
