#pragma once

#include <QString>

class QWidget;

namespace vorda {

/// The property a repository window holds its repository's root in, so
/// that what it shows (cards, sheets, the diff column) can tell which
/// repository's link rules apply.
inline constexpr const char* linkRepositoryProperty = "vordaRepository";

/// The repository of the window that shows `widget`: the nearest widget
/// up the parent chain with the property; empty outside such a window.
QString linkRepository(const QWidget* widget);

}  // namespace vorda
