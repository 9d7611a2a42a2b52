#include <iostream>

#include "cli/Subcommands.h"
#include "feature/wire/WireCoding.h"

namespace vorda::cli {

void printLine(const nlohmann::json& document) {
    std::cout << wireText(document) << std::endl;
}

}  // namespace vorda::cli
