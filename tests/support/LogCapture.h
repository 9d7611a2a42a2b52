#pragma once

#include <mutex>
#include <string>
#include <string_view>

#include "jjkit/support/DiagnosticLog.h"

namespace vorda::testing {

/// Collects everything written to the diagnostic log while it lives, and puts
/// the previous sink back afterwards.
class LogCapture {
  public:
    LogCapture()
        : previous_(DiagnosticLog::setSink([this](std::string_view text) {
              const std::scoped_lock lock(mutex_);
              captured_.append(text);
          })) {}
    ~LogCapture() { DiagnosticLog::setSink(previous_); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::string text() const {
        const std::scoped_lock lock(mutex_);
        return captured_;
    }

    bool contains(std::string_view needle) const {
        return text().find(needle) != std::string::npos;
    }

  private:
    mutable std::mutex mutex_;
    std::string captured_;
    DiagnosticLog::Sink previous_;
};

}  // namespace vorda::testing
