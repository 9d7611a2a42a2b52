#pragma once

#include <QString>
#include <QUrl>
#include <functional>

#include "jjkit/links/CommitLinkEngine.h"

class QMenu;

namespace vorda::commitlinks {

/// Hands an address to the desktop; false when nothing could open it.
using Opener = std::function<bool(const QUrl&)>;

/// Replaces how addresses are opened (tests watch them); an empty opener
/// puts the desktop's back.
void setOpener(Opener opener);

/// Opens a link: its app address first when the rule prefers the app and
/// has one, falling back to the web address when no app takes it.
void open(const CommitLinkMatch& link);

/// The address that `open` tries first.
QString primaryAddress(const CommitLinkMatch& link);

/// The reference, " → " and that address.
QString tooltip(const CommitLinkMatch& link);

/// A link's own entries: "Open in Browser", "Open in Linear" when it has an
/// app address, "Copy Link" (the web address) and "Copy Reference".
void addMenuEntries(QMenu& menu, const CommitLinkMatch& link);

}  // namespace vorda::commitlinks
