#include "jjkit/trace/PerfEvent.h"

namespace vorda {

std::string_view perfCategoryName(PerfCategory category) {
    switch (category) {
        case PerfCategory::subprocess:
            return "subprocess";
        case PerfCategory::session:
            return "session";
        case PerfCategory::snapshot:
            return "snapshot";
        case PerfCategory::vm:
            return "vm";
        case PerfCategory::webview:
            return "webview";
        case PerfCategory::store:
            return "store";
    }
    return "session";
}

}  // namespace vorda
