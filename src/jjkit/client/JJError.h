#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <variant>
#include <vector>

namespace vorda {

/// The command layer's error. Guards refuse with `UnsafeOperation` and a whole
/// sentence that is shown as it stands; the other cases say what went wrong
/// with running or reading jj.
class JJError : public std::exception {
  public:
    struct UnsafeOperation {
        std::string message;
    };
    struct IncompatibleVersion {
        std::string found;
        std::string minimum;
    };
    /// `command` holds the caller's arguments only: no fixed prefix, no -R.
    struct CommandFailed {
        std::vector<std::string> command;
        std::int32_t exitCode = 0;
        std::string stderr;
    };
    /// `underlying` is the description of the decoder's own error.
    struct ParseError {
        std::string context;
        std::string underlying;
    };
    struct JJNotFound {};

    using Case =
        std::variant<UnsafeOperation, IncompatibleVersion, CommandFailed, ParseError, JJNotFound>;

    explicit JJError(Case value);

    static JJError unsafeOperation(std::string message) {
        return JJError(UnsafeOperation{std::move(message)});
    }

    const Case& value() const { return value_; }

    template <typename T>
    const T* as() const {
        return std::get_if<T>(&value_);
    }

    /// The user-facing text of the error.
    const std::string& errorDescription() const { return description_; }
    const char* what() const noexcept override { return description_.c_str(); }

  private:
    Case value_;
    std::string description_;
};

/// An error whose only content is its description; the underlying error of a
/// parse failure that no decoder produced.
struct StringParseError {
    std::string description;
};

}  // namespace vorda
