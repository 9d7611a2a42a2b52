#include "jjkit/templates/JJTemplateBuilder.h"

#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {

std::string JJTemplateBuilder::commitTemplateWithFacts(std::string_view mineRevset,
                                                       std::string_view behindTrunkRevset) {
    // A template's string literal escapes like a revset's.
    static constexpr std::string_view recordEnd = "\n++ \"}\\n\"";
    static_assert(commitTemplate.ends_with(recordEnd));
    std::string text(commitTemplate.substr(0, commitTemplate.size() - recordEnd.size()));
    text.append("\n++ \",\\\"mine\\\":\" ++ json(self.contained_in(")
        .append(revsetQuoted(mineRevset))
        .append("))\n++ \",\\\"behind_trunk\\\":\" ++ json(self.contained_in(")
        .append(revsetQuoted(behindTrunkRevset))
        .append("))")
        .append(recordEnd);
    return text;
}

}  // namespace vorda
