// Fetch and push through jj's Git backend.

#include "jjkit/client/JJClient.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {

void JJClient::gitFetch(const std::optional<std::string>& remote,
                        const std::function<void(const std::string&)>& progress) const {
    std::vector<std::string> arguments{"git", "fetch"};
    if (remote) {
        arguments.push_back("--remote=" + exactNamePattern(*remote));
    }
    // jj redraws its progress with carriage returns; each redraw arrives as
    // a line of its own while the fetch runs.
    run(arguments, "gitFetch remote=" + remote.value_or("default"), true, {0}, progress);
}

void JJClient::gitPush(const std::string& bookmark,
                       const std::optional<std::string>& remote) const {
    std::vector<std::string> arguments{"git", "push", "--bookmark=" + exactNamePattern(bookmark)};
    if (remote) {
        arguments.push_back("--remote=" + exactNamePattern(*remote));
    }
    run(arguments, "gitPush bookmark=" + bookmark + " remote=" + remote.value_or("default"));
}

}  // namespace vorda
