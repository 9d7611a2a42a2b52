#include "jjkit/client/JJError.h"

#include "jjkit/support/Text.h"

namespace vorda {
namespace {

struct Describe {
    std::string operator()(const JJError::UnsafeOperation& error) const { return error.message; }
    std::string operator()(const JJError::IncompatibleVersion& error) const {
        return "jj " + error.found + " too old, need " + error.minimum + "+";
    }
    std::string operator()(const JJError::CommandFailed& error) const {
        return "jj " + text::join(error.command, " ") + " failed (" +
               std::to_string(error.exitCode) + "): " + error.stderr;
    }
    std::string operator()(const JJError::ParseError& error) const {
        return "Parse error (" + error.context + "): " + error.underlying;
    }
    std::string operator()(const JJError::JJNotFound& /*error*/) const {
        return "jj not found in PATH";
    }
};

}  // namespace

JJError::JJError(Case value)
    : value_(std::move(value)), description_(std::visit(Describe{}, value_)) {}

}  // namespace vorda
