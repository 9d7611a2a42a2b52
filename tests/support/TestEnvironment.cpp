#include "support/TestEnvironment.h"

#include <cstdlib>
#include <fstream>

#include "support/TempDir.h"

namespace vorda::testing {

void installIsolatedEnvironment() {
    // Lives as long as the test process.
    static const TempDir configFolder("vorda-test-config");
    const auto& folder = configFolder.path();
    const auto jjConfig = folder / "jj-config.toml";
    const auto gitConfig = folder / "gitconfig";
    std::ofstream(jjConfig, std::ios::binary) << "[user]\n"
                                                 "name = \"Vorda Test\"\n"
                                                 "email = \"test@vorda.invalid\"\n"
                                                 "[ui]\n"
                                                 "paginate = \"never\"\n"
                                                 "color = \"never\"\n"
                                                 "[signing]\n"
                                                 "behavior = \"drop\"\n";
    std::ofstream(gitConfig, std::ios::binary) << "[user]\n"
                                                  "\tname = Vorda Test\n"
                                                  "\temail = test@vorda.invalid\n"
                                                  "[init]\n"
                                                  "\tdefaultBranch = main\n"
                                                  "[advice]\n"
                                                  "\tdetachedHead = false\n";
    ::setenv("JJ_CONFIG", jjConfig.c_str(), 1);
    ::setenv("GIT_CONFIG_GLOBAL", gitConfig.c_str(), 1);
    ::setenv("GIT_CONFIG_NOSYSTEM", "1", 1);
    ::setenv("HOME", folder.c_str(), 1);
    for (const char* name : {"JJ_USER", "JJ_EMAIL", "JJ_TIMESTAMP", "JJ_OP_TIMESTAMP",
                             "JJ_OP_HOSTNAME", "JJ_OP_USERNAME", "JJ_EDITOR", "EDITOR"}) {
        ::unsetenv(name);
    }
}

}  // namespace vorda::testing
