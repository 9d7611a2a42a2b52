#pragma once

#include <QObject>
#include <QString>
#include <optional>
#include <vector>

#include "jjkit/links/CommitLinkEngine.h"

class QLabel;

namespace vorda {

/// Shows a label's plain text with the references that the user's link
/// rules know as links: pressing one opens it, its tooltip names where it
/// goes, and a right click on it offers the link's own menu. The rest of the
/// text stays plain and selectable. Attached to the label, which owns it.
///
/// ```
/// auto* title = new QLabel(parent);
/// auto* links = CommitLinkLabel::attach(title);
/// links->setPlainText(summary);   // instead of title->setText(summary)
/// ```
class CommitLinkLabel : public QObject {
    Q_OBJECT

  public:
    static CommitLinkLabel* attach(QLabel* label);

    void setPlainText(const QString& text);
    const QString& plainText() const { return text_; }
    /// The links shown now.
    const std::vector<CommitLinkMatch>& links() const { return links_; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    explicit CommitLinkLabel(QLabel* label);
    void refresh();
    void show(std::vector<CommitLinkMatch> links);
    const CommitLinkMatch* linkOf(const QString& anchor) const;

    QLabel* label_;
    QString text_;
    /// The text the label shows now, once it shows one.
    std::optional<QString> shown_;
    QString hovered_;
    std::vector<CommitLinkMatch> links_;
};

}  // namespace vorda
