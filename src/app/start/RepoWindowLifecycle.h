#pragma once

#include <QMetaObject>
#include <QObject>
#include <QString>
#include <functional>

class QWidget;

namespace vorda {

/// Follows one repository window from attach to close. Attaching logs and runs `onAttach`; when the
/// window goes away it logs "willClose" and runs `onClose`, then detaches.
/// Repository windows are `Qt::WA_DeleteOnClose`, so "goes away" is the
/// window's `destroyed` signal: a close that the window refuses is not a
/// close. `onClose` gets the window's address as an identity only; the
/// object is being destroyed and must not be used.
///
/// A second attach to the same window does nothing; to another window it
/// first detaches. `onActivate` runs each time the window becomes active.
class RepoWindowLifecycle : public QObject {
    Q_OBJECT

  public:
    using Action = std::function<void(QWidget* window)>;

    RepoWindowLifecycle(Action onAttach, Action onClose, Action onActivate = {},
                        QObject* parent = nullptr);
    ~RepoWindowLifecycle() override;
    RepoWindowLifecycle(const RepoWindowLifecycle&) = delete;
    RepoWindowLifecycle& operator=(const RepoWindowLifecycle&) = delete;

    void attach(QWidget* window);
    /// Stops observing without running `onClose`.
    void detach();

    QWidget* window() const { return window_; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void handleDestroyed();

    Action onAttach_;
    Action onClose_;
    Action onActivate_;
    // Raw on purpose: after `destroyed` it is an identity, never used.
    QWidget* window_ = nullptr;
    QString description_;
    QString title_;
    QMetaObject::Connection destroyedConnection_;
};

}  // namespace vorda
