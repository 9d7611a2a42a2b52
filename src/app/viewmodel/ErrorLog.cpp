#include "app/viewmodel/ErrorLog.h"

#include "jjkit/support/DiagnosticLog.h"

namespace vorda {

void logErrorField(const char* field, const std::optional<std::string>& previous,
                   const std::optional<std::string>& next) {
    if (next && !next->empty() && next != previous) {
        DiagnosticLog::writeLine(std::string("[Vorda:error] ") + field + ": " + *next);
    }
}

}  // namespace vorda
