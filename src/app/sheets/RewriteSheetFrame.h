#pragma once

#include <QDialog>
#include <functional>
#include <optional>
#include <string>

#include "app/sheets/SheetLines.h"

class QHBoxLayout;
class QLabel;
class QPushButton;
class QScrollArea;
class QVBoxLayout;

namespace vorda {

/// The frame of a sheet that walks through states (choose, preview,
/// outcome): a heading, a scrolling body and a row of buttons, both of which
/// each state fills afresh after `beginState`. Window-modal; deleted when
/// closed.
class RewriteSheetFrame : public QDialog {
    Q_OBJECT

  public:
    explicit RewriteSheetFrame(QWidget* parent);

  protected:
    /// Empties the body and the buttons and shows `heading` as the title.
    void beginState(const QString& heading);
    QVBoxLayout* body() const { return body_; }
    /// A wrapped plain-text line of the body.
    QLabel* addLine(const QString& text, const QString& objectName = {});
    /// A line naming a commit: the references in its description are links.
    QLabel* addCommitLine(const QString& text);
    /// A bold heading of the body.
    QLabel* addHeading(const QString& text);
    /// A quieter line: notes and explanations.
    QLabel* addNote(const QString& text);
    /// A button of the row; the first one added with `isDefault` answers
    /// Return.
    QPushButton* addButton(const QString& label, std::function<void()> onPress,
                           bool isDefault = false);
    /// A state of waiting on the session: `line` and a way out.
    void showWorking(const QString& heading, const QString& line);
    /// Why confirming the preview did nothing, first and in red; nothing
    /// without a refusal.
    void addExecutionRefusal(const std::optional<std::string>& refusal);
    /// A preview's `closeLabel` and `changeLabel` (back to choosing) and,
    /// after a refused confirmation, "Preview Again" in place of the
    /// confirming button. Answers whether the confirming button is to follow.
    bool addPreviewButtons(const QString& closeLabel, const QString& changeLabel, bool refused,
                           std::function<void()> change, std::function<void()> again);
    /// A button that copies `text` to the clipboard.
    QPushButton* addCopyButton(const QString& label, const std::string& text);

  private:
    QLabel* heading_;
    QScrollArea* scroll_;
    QVBoxLayout* body_ = nullptr;
    QWidget* buttonRow_ = nullptr;
    QHBoxLayout* buttons_ = nullptr;
    QVBoxLayout* frame_;
};

}  // namespace vorda
