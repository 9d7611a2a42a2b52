#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace vorda::testing {

/// Puts an environment variable back as it was when the scope ends. Tests in
/// one process run one after the other, so changing the environment is safe
/// as long as no other thread of the test starts processes meanwhile.
class ScopedEnvironment {
  public:
    explicit ScopedEnvironment(const char* name) : name_(name) {
        if (const char* value = std::getenv(name)) {
            saved_ = value;
        }
    }
    ~ScopedEnvironment() {
        if (saved_) {
            ::setenv(name_, saved_->c_str(), 1);
        } else {
            ::unsetenv(name_);
        }
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

    void set(const std::string& value) const { ::setenv(name_, value.c_str(), 1); }
    void prependPath(const std::string& folder) const {
        set(folder + (saved_ ? ":" + *saved_ : std::string()));
    }

  private:
    const char* name_;
    std::optional<std::string> saved_;
};

}  // namespace vorda::testing
