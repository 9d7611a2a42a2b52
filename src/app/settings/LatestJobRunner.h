#pragma once

#include <functional>
#include <memory>

class QObject;

namespace vorda {

/// A worker thread for work where only the newest request matters, such as
/// trying out patterns as the user types. A job that has not started when a
/// newer one arrives never starts; what a job returns runs on the
/// receiver's thread. The receiver still checks that an answer is the one it
/// waits for, since a newer request may follow while a job runs.
///
/// ```
/// runner_.submit([input] {
///     auto result = slowWork(input);
///     return [this, result] { show(result); };
/// });
/// ```
///
/// The destructor drops every answer not yet delivered; a running job ends
/// on its own thread and nobody waits for it.
class LatestJobRunner {
  public:
    using Job = std::function<std::function<void()>()>;

    explicit LatestJobRunner(QObject* receiver);
    ~LatestJobRunner();
    LatestJobRunner(const LatestJobRunner&) = delete;
    LatestJobRunner& operator=(const LatestJobRunner&) = delete;
    LatestJobRunner(LatestJobRunner&&) = delete;
    LatestJobRunner& operator=(LatestJobRunner&&) = delete;

    void submit(Job job);

  private:
    struct Shared;
    std::shared_ptr<Shared> shared_;
};

}  // namespace vorda
