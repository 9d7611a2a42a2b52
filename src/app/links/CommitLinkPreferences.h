#pragma once

#include <QObject>
#include <QString>
#include <string>

namespace vorda {

/// The user's commit-link rules as stored: one JSON text under
/// "vorda.commitLinks.v1" in the user's settings. Rules are personal; no
/// repository file can add one. One object per process tells every card and
/// view when the stored rules change.
///
/// ```
/// auto& stored = CommitLinkPreferences::shared();
/// connect(&stored, &CommitLinkPreferences::changed, view, [view] { view->update(); });
/// CommitLinkResolver::shared().matches(text, stored.configuration().toStdString(), repo);
/// ```
class CommitLinkPreferences : public QObject {
    Q_OBJECT

  public:
    static constexpr const char* key = "vorda.commitLinks.v1";

    static CommitLinkPreferences& shared();

    /// The stored text, read once and then kept; empty when nothing is stored.
    QString configuration() const;
    /// The same as a standard string, as the resolver takes it.
    std::string configurationText() const { return configuration().toStdString(); }
    /// Stores `configuration` and says so when it differs from what was stored.
    void save(const QString& configuration);
    /// Forgets the kept text, so the next read goes to the settings again
    /// (for a test that changes them underneath).
    void reload();

  signals:
    void changed();

  private:
    using QObject::QObject;

    mutable QString configuration_;
    mutable bool loaded_ = false;
};

}  // namespace vorda
