#include "jjkit/support/DiagnosticLog.h"

#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

namespace vorda {
namespace {

// Guards the sink and serialises writes, so each call reaches the sink whole.
// Both are never destroyed, so a detached worker can still log while the
// process runs its exit handlers.
std::mutex& logMutex() {
    static auto* const mutex = new std::mutex;
    return *mutex;
}

DiagnosticLog::Sink& currentSink() {
    static auto* const sink = new DiagnosticLog::Sink;
    return *sink;
}

void writeLocked(std::string_view text) {
    if (currentSink()) {
        currentSink()(text);
        return;
    }
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace

void DiagnosticLog::writeLine(std::string_view line) {
    std::string text;
    text.reserve(line.size() + 1);
    text.append(line);
    text.push_back('\n');
    const std::scoped_lock lock(logMutex());
    writeLocked(text);
}

void DiagnosticLog::writeRaw(std::string_view text) {
    const std::scoped_lock lock(logMutex());
    writeLocked(text);
}

DiagnosticLog::Sink DiagnosticLog::setSink(Sink sink) {
    const std::scoped_lock lock(logMutex());
    return std::exchange(currentSink(), std::move(sink));
}

}  // namespace vorda
