#include "common/function_log.h"

namespace velk {

void FunctionLog::NameFunction(CCommonLog& log) const {
    log.SetFunctionName(FormatText(L"%s::%s", className_, method_).c_str());
}

}  // namespace velk
