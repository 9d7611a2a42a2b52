#pragma once

#include <QLineEdit>
#include <QString>
#include <optional>

namespace vorda {

/// A bookmark name edited in place, over the text it replaces: the lane's
/// title or another bookmark's chip beside a card. Return, or moving the
/// focus elsewhere, asks for the rename; Escape cancels. A draft that is
/// empty after trimming, or the old name again, is dropped without a word.
///
/// ```
/// field->begin(QStringLiteral("feature"));
/// connect(field, &InlineRenameField::renameRequested, this, &Lane::rename);
/// connect(field, &InlineRenameField::ended, this, &Lane::showTitleAgain);
/// ```
class InlineRenameField : public QLineEdit {
    Q_OBJECT

  public:
    explicit InlineRenameField(QWidget* parent = nullptr);

    /// Shows the field with `name` selected and takes the focus.
    void begin(const QString& name);
    bool isEditing() const { return isEditing_; }
    /// The name being edited; empty while not editing.
    const QString& originalName() const { return name_; }

    /// The new name a draft asks for: trimmed, non-empty and different from
    /// `name`; absent otherwise.
    static std::optional<QString> renameTo(const QString& draft, const QString& name);

  Q_SIGNALS:
    void renameRequested(const QString& oldName, const QString& newName);
    /// Editing is over, renamed or not; the field has hidden itself.
    void ended();

  protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    void finish(bool commit);

    QString name_;
    bool isEditing_ = false;
};

}  // namespace vorda
