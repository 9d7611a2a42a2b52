#pragma once

#include <exception>
#include <string>
#include <variant>

namespace vorda {

/// What went wrong running `gh`.
class GitHubClientError : public std::exception {
  public:
    /// gh ran and exited with a non-zero status; `stderr` is what it printed.
    struct CommandFailed {
        std::string stderr;
    };
    /// No `gh` on the search path.
    struct GhNotFound {};
    /// gh reported success but the record it should have made cannot be found.
    struct UnexpectedEmptyResponse {};

    using Case = std::variant<CommandFailed, GhNotFound, UnexpectedEmptyResponse>;

    explicit GitHubClientError(Case value);

    static GitHubClientError commandFailed(std::string stderr) {
        return GitHubClientError(CommandFailed{std::move(stderr)});
    }
    static GitHubClientError ghNotFound() { return GitHubClientError(GhNotFound{}); }
    static GitHubClientError unexpectedEmptyResponse() {
        return GitHubClientError(UnexpectedEmptyResponse{});
    }

    const Case& value() const { return value_; }

    template <typename T>
    const T* as() const {
        return std::get_if<T>(&value_);
    }

    /// The user-facing text: "gh: <stderr>" (or "gh command failed" when gh
    /// printed nothing), "gh CLI not found on PATH", "gh returned no data".
    const std::string& errorDescription() const { return description_; }
    const char* what() const noexcept override { return description_.c_str(); }

  private:
    Case value_;
    std::string description_;
};

}  // namespace vorda
