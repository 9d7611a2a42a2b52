// vorda-cli: the headless front end. For now it reads a repository through the
// command layer and prints what it finds as JSON records, one a line.
//
//   vorda-cli version
//   vorda-cli --repo PATH log [REVSET]
//   vorda-cli --repo PATH workspaces
//   vorda-cli --repo PATH watch        (one line per repository change)

#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "jjkit/client/JJClient.h"
#include "jjkit/records/RecordCoding.h"
#include "jjkit/repo/JJFileWatcher.h"
#include "jjkit/repo/JJRepoDetector.h"

namespace {

using vorda::JJClient;

int usage() {
    std::cerr << "usage: vorda-cli [--repo PATH] version | log [REVSET] | workspaces | watch\n";
    return 2;
}

template <typename Record>
void printRecords(const std::vector<Record>& records) {
    for (const auto& record : records) {
        std::cout << vorda::RecordCoding<Record>::encode(record).dump() << "\n";
    }
}

int watch(const std::string& root) {
    const auto store = vorda::JJRepoDetector::sharedRepositoryPath(root);
    // The store lives in `<owner workspace>/.jj/repo`; watch from that workspace.
    const auto owner = std::filesystem::path(store).parent_path().parent_path().string();
    auto events = vorda::JJFileWatcher(owner).events();
    while (events->next({})) {
        std::cout << "{\"changed\":{}}" << std::endl;
    }
    std::cerr << "vorda-cli: the repository cannot be watched\n";
    return 1;
}

int run(const std::vector<std::string>& arguments) {
    std::optional<std::string> repo;
    std::vector<std::string> rest;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        if ((arguments[index] == "--repo" || arguments[index] == "-R") &&
            index + 1 < arguments.size()) {
            repo = arguments[++index];
        } else if (arguments[index].starts_with("--repo=")) {
            repo = arguments[index].substr(7);
        } else {
            rest.push_back(arguments[index]);
        }
    }
    if (rest.empty()) {
        return usage();
    }
    if (rest[0] == "version") {
        std::cout << JJClient("").version().raw << "\n";
        return 0;
    }
    const auto root = vorda::JJRepoDetector::findRepoRoot(repo.value_or("."));
    if (!root) {
        std::cerr << "vorda-cli: no jj repository at or above " << repo.value_or(".") << "\n";
        return 1;
    }
    const JJClient client(*root);
    if (rest[0] == "log") {
        printRecords(client.log(rest.size() > 1 ? rest[1] : "all()"));
        return 0;
    }
    if (rest[0] == "workspaces") {
        printRecords(client.workspaces());
        return 0;
    }
    if (rest[0] == "watch") {
        return watch(*root);
    }
    return usage();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::exception& error) {
        std::cerr << "vorda-cli: " << error.what() << "\n";
        return 1;
    }
}
