#pragma once

#include <string>

namespace vorda {

/// One entry of the operation log; `opID` is its identity.
struct JJOp {
    std::string opID;
    std::string description;
    std::string startTime;

    const std::string& id() const { return opID; }
    std::string shortOpID() const { return opID.substr(0, 12); }

    bool operator==(const JJOp&) const = default;
};

}  // namespace vorda
