#pragma once

#include <optional>
#include <string>

namespace vorda {

/// A workspace and its working-copy commit. `root` is absent when jj could not
/// read it (the folder was deleted, say). The name is the identity.
struct JJWorkspace {
    std::string name;
    std::optional<std::string> root;
    std::string commitID;
    std::string changeID;

    const std::string& id() const { return name; }

    bool operator==(const JJWorkspace&) const = default;
};

}  // namespace vorda
