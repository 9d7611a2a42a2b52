#pragma once

#include <QWidget>

class QLabel;
class QPlainTextEdit;

namespace vorda {

class CommitLinksSettings;

/// The live playground: an editable sample with the links the rules find
/// in it marked, each link with its captures, and the warnings and errors
/// of the rules. Follows the settings' answers as they arrive.
class CommitLinkPlayground : public QWidget {
    Q_OBJECT

  public:
    explicit CommitLinkPlayground(CommitLinksSettings* settings, QWidget* parent = nullptr);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void refresh();
    void applyColors();

    CommitLinksSettings* settings_;
    QPlainTextEdit* sample_;
    QLabel* noMatches_;
    QLabel* preview_;
    QLabel* warnings_;
    QLabel* errors_;
};

}  // namespace vorda
