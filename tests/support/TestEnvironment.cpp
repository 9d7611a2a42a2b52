#include "support/TestEnvironment.h"

#include <cstdlib>
#include <fstream>
#include <memory>

#include "support/TempDir.h"

namespace vorda::testing {
namespace {

std::unique_ptr<TempDir>& configFolder() {
    static std::unique_ptr<TempDir> folder;
    return folder;
}

std::string& configPath() {
    static std::string path;
    return path;
}

void writeFile(const std::filesystem::path& path, const std::string& contents) {
    std::ofstream(path, std::ios::binary) << contents;
}

}  // namespace

void installIsolatedEnvironment() {
    configFolder() = std::make_unique<TempDir>("vorda-test-config");
    const auto& folder = configFolder()->path();

    configPath() = (folder / "jj-config.toml").string();
    writeFile(configPath(),
              "[user]\n"
              "name = \"Vorda Test\"\n"
              "email = \"test@vorda.invalid\"\n"
              "[ui]\n"
              "paginate = \"never\"\n"
              "color = \"never\"\n"
              "[signing]\n"
              "behavior = \"drop\"\n");
    const auto gitConfig = folder / "gitconfig";
    writeFile(gitConfig,
              "[user]\n"
              "\tname = Vorda Test\n"
              "\temail = test@vorda.invalid\n"
              "[init]\n"
              "\tdefaultBranch = main\n"
              "[advice]\n"
              "\tdetachedHead = false\n");

    ::setenv("JJ_CONFIG", configPath().c_str(), 1);
    ::setenv("GIT_CONFIG_GLOBAL", gitConfig.c_str(), 1);
    ::setenv("GIT_CONFIG_NOSYSTEM", "1", 1);
    ::setenv("HOME", folder.c_str(), 1);
    for (const char* name : {"JJ_USER", "JJ_EMAIL", "JJ_TIMESTAMP", "JJ_OP_TIMESTAMP",
                             "JJ_OP_HOSTNAME", "JJ_OP_USERNAME", "JJ_EDITOR", "EDITOR"}) {
        ::unsetenv(name);
    }
}

const std::string& jjConfigPath() {
    return configPath();
}

}  // namespace vorda::testing
