#pragma once

#include <QDialog>
#include <functional>

class QDialogButtonBox;
class QLabel;
class QPushButton;
class QVBoxLayout;

namespace vorda {

/// The frame every sheet shares: a window-modal dialog with its title, a
/// body the sheet fills, "Cancel" and one confirming button. Cancel closes
/// without sending anything; the confirming button runs `onConfirm` and
/// closes. Deleted when closed.
class SheetDialog : public QDialog {
    Q_OBJECT

  public:
    SheetDialog(const QString& title, const QString& confirmLabel, QWidget* parent);

    QVBoxLayout* body() const { return body_; }
    QPushButton* confirmButton() const { return confirm_; }
    /// What the confirming button does before the sheet closes.
    void setOnConfirm(std::function<void()> onConfirm) { onConfirm_ = std::move(onConfirm); }
    /// A bold caps section heading in the body.
    QLabel* addSection(const QString& text);
    /// A wrapped plain-text paragraph in the body.
    QLabel* addParagraph(const QString& text);
    /// For a confirmation that cannot be taken back: Return cancels, the
    /// confirming button has to be pressed.
    void makeDestructive();
    /// The lock and "Immutable — overriding": the sheet's command will
    /// override jj's protection of the commit.
    void addImmutableMark();
    /// For a sheet that only shows: no "Cancel", the confirming button
    /// just closes.
    void hideCancel();

    void accept() override;

  private:
    QVBoxLayout* body_;
    QDialogButtonBox* buttons_;
    QPushButton* confirm_;
    std::function<void()> onConfirm_;
};

}  // namespace vorda
