#pragma once

#include <QObject>

class QWindow;

namespace vorda {

/// The two observers of start step 5 that only log: a window becoming the
/// active one ("didBecomeMain", with its title, opacity and visibility) and
/// a top-level window receiving a close request ("willClose"). The labels
/// are the log's established wording, so existing log readers keep working.
class WindowActivityLog : public QObject {
    Q_OBJECT

  public:
    /// Starts observing the application's windows until destroyed.
    explicit WindowActivityLog(QObject* parent = nullptr);
    ~WindowActivityLog() override;
    WindowActivityLog(const WindowActivityLog&) = delete;
    WindowActivityLog& operator=(const WindowActivityLog&) = delete;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    static void onFocusWindowChanged(QWindow* window);
};

}  // namespace vorda
