#pragma once

#include <QString>
#include <string>
#include <vector>

#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJWorkspace.h"

class QLabel;
class QVBoxLayout;

namespace vorda {

/// A wrapped, selectable plain-text line added to `layout`.
QLabel* addTextLine(QVBoxLayout* layout, const QString& text, const QString& objectName = {});
/// The same in bold: a heading.
QLabel* addHeadingLine(QVBoxLayout* layout, const QString& text);
/// The same, quieter: notes and explanations.
QLabel* addNoteLine(QVBoxLayout* layout, const QString& text);

/// A model text as a Qt string.
QString sheetText(const std::string& text);
/// The first twelve characters of a commit or operation ID.
QString shortID(const std::string& id);
/// `items` joined with ", ", or "none".
QString listText(const std::vector<std::string>& items);
/// `id`, two spaces and the commit's summary, or "(no description)".
QString commitText(const std::string& id, const JJCommit& commit);
/// The same with the first eight characters of the change ID.
QString commitText(const JJCommit& commit);
/// The names of `workspaces` as `listText` shows them.
QString workspacesText(const std::vector<JJWorkspace>& workspaces);
/// "1 root", "2 roots"; `many` where adding "s" does not make the plural.
QString plural(std::size_t count, const QString& one, const QString& many = {});

}  // namespace vorda
