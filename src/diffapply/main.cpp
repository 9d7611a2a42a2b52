// vorda-diff-apply <selection.json> <left folder> <right folder>
//
// The diff editor jj runs for hunk selection; the work is done by
// HunkApplication so that it can be tested without a process.

#include <iostream>
#include <string>
#include <vector>

#include "jjkit/diff/HunkApplication.h"

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    return vorda::HunkApplication::runCommandLine(arguments, std::cerr);
}
