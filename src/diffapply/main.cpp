// vorda-diff-apply <selection.json> <left folder> <right folder>
// vorda-diff-apply --version
//
// The diff editor jj runs for hunk selection; the work is done by
// HunkApplication so that it can be tested without a process.

#include <iostream>
#include <string>
#include <vector>

#include "VordaVersion.h"
#include "jjkit/diff/HunkApplication.h"

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() == 1 && arguments.front() == "--version") {
        std::cout << "vorda-diff-apply " << vorda::programVersion << "\n";
        return 0;
    }
    return vorda::HunkApplication::runCommandLine(arguments, std::cerr);
}
