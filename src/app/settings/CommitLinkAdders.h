#pragma once

#include <QWidget>

class QPushButton;

namespace vorda {

class CommitLinksSettings;

/// The three ways to add a rule: a custom pattern to edit, a Linear
/// workspace's issue keys, and a repository's "#123" references.
class CommitLinkAdders : public QWidget {
    Q_OBJECT

  public:
    explicit CommitLinkAdders(CommitLinksSettings* settings, QWidget* parent = nullptr);

  private:
    void refresh();

    CommitLinksSettings* settings_;
    QPushButton* addLinear_ = nullptr;
    QPushButton* addRepository_ = nullptr;
};

}  // namespace vorda
