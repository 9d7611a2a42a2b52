#pragma once

#include <QObject>
#include <QString>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/settings/CommitLinkPlaygroundRun.h"
#include "app/settings/LatestJobRunner.h"
#include "jjkit/links/CommitLinkEngine.h"

namespace vorda {

/// The commit-link settings being edited: a working copy of the stored
/// rules, the rule selected for editing, the fields of the three ways to
/// add one, and a live playground that tries the rules on a sample text.
/// Nothing is stored until `save`.
///
/// The playground runs on a worker thread, since a pattern the user types
/// may backtrack for a long time: each change of the rules or the sample
/// asks again, and only the answer to the newest question is shown
/// (`previewReady` is false until it has arrived).
class CommitLinksSettings : public QObject {
    Q_OBJECT

  public:
    static constexpr const char* initialSample =
        "ARC-3407 Improve conflict resolution; fixes kelmardev/Vorda#128.";

    explicit CommitLinksSettings(QObject* parent = nullptr);

    /// The stored text the working copy started from.
    const QString& configuration() const { return configuration_; }
    const std::vector<CommitLinkRule>& rules() const { return rules_; }
    const std::optional<std::string>& selected() const { return selected_; }
    /// The selected rule, or null.
    const CommitLinkRule* selectedRule() const;

    /// Reads the stored rules into the working copy. The selection stays
    /// when its rule is still there; otherwise the first rule is selected.
    void load();
    void select(const std::optional<std::string>& id);
    /// Replaces the rule with the same identity (an edit in the detail view).
    void update(const CommitLinkRule& rule);
    /// Appends `rule` and selects it.
    void add(CommitLinkRule rule);
    /// A rule named "Custom" for keys like "ARC-3407".
    void addRegex();
    /// `CommitLinkRule::linear` with `workspace` and `prefixes`.
    void addLinear();
    bool canAddLinear() const;
    /// "#123" references of `repositoryPath` to issues under `project`.
    void addRepositoryIssues();
    bool canAddRepositoryIssues() const;
    /// Moves the rule one place up (-1) or down (+1), when there is room.
    void move(const std::string& id, int offset);
    bool canMove(const std::string& id, int offset) const;
    void removeSelected();

    /// The working copy as it would be stored.
    QString draftKey() const;
    /// Whether the working copy differs from what is stored.
    bool isDirty() const;
    /// Stores the working copy (invalid rules too: they are dropped when
    /// links are made, and their lines here say why).
    void save();

    // The fields of the adders.
    const QString& workspace() const { return workspace_; }
    void setWorkspace(const QString& text) { workspace_ = text; }
    const QString& prefixes() const { return prefixes_; }
    void setPrefixes(const QString& text) { prefixes_ = text; }
    const QString& project() const { return project_; }
    void setProject(const QString& text) { project_ = text; }
    const QString& repositoryPath() const { return repositoryPath_; }
    void setRepositoryPath(const QString& text) { repositoryPath_ = text; }

    // The playground.
    const QString& sample() const { return sample_; }
    void setSample(const QString& sample);
    const std::vector<CommitLinkMatch>& preview() const { return result_.preview; }
    const std::vector<std::string>& errors() const { return result_.errors; }
    const std::vector<std::string>& warnings() const { return result_.warnings; }
    bool previewReady() const { return previewReady_; }

  signals:
    /// The rules, their order, the selection or the stored text changed.
    void rulesChanged();
    /// A new playground result has arrived.
    void previewChanged();

  private:
    void rulesEdited();
    void requestPreview();
    std::vector<CommitLinkRule>::iterator find(const std::string& id);

    QString configuration_;
    std::string storedKey_;
    std::vector<CommitLinkRule> rules_;
    std::optional<std::string> selected_;
    QString workspace_;
    QString prefixes_ = QStringLiteral("ARC");
    QString project_;
    QString repositoryPath_;
    QString sample_ = QString::fromUtf8(initialSample);
    CommitLinkPlaygroundResult result_;
    bool previewReady_ = false;
    std::uint64_t generation_ = 0;
    LatestJobRunner runner_{this};
};

}  // namespace vorda
