#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace vorda {

/// Splits a process's standard error into lines while it is being read.
///
/// Bytes are fed as they arrive. A line ends at a line feed or at a carriage
/// return (progress output redraws itself with CR). Each line is decoded as
/// UTF-8 (invalid bytes make it empty), trimmed of blanks and tabs, and handed
/// to `onLine` unless that leaves nothing; so a CR-LF pair yields one line.
/// The whole stream, line ends included, is kept for the result.
class StderrLinePump {
  public:
    using LineHandler = std::function<void(const std::string& line)>;

    explicit StderrLinePump(LineHandler onLine) : onLine_(std::move(onLine)) {}

    void feed(std::string_view bytes);

    /// End of stream: an unfinished last line is handled too.
    void finish();

    const std::string& whole() const { return whole_; }

  private:
    void handleLine(std::string_view bytes);

    LineHandler onLine_;
    std::string whole_;
    std::string pending_;
};

}  // namespace vorda
