#include "jjkit/github/GitHubClientError.h"

namespace vorda {
namespace {

struct Describe {
    std::string operator()(const GitHubClientError::CommandFailed& error) const {
        return error.stderr.empty() ? std::string("gh command failed") : "gh: " + error.stderr;
    }
    std::string operator()(const GitHubClientError::GhNotFound& /*error*/) const {
        return "gh CLI not found on PATH";
    }
    std::string operator()(const GitHubClientError::UnexpectedEmptyResponse& /*error*/) const {
        return "gh returned no data";
    }
};

}  // namespace

GitHubClientError::GitHubClientError(Case value)
    : value_(std::move(value)), description_(std::visit(Describe{}, value_)) {}

}  // namespace vorda
