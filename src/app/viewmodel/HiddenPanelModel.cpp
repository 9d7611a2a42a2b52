#include "app/viewmodel/HiddenPanelModel.h"

#include "jjkit/support/DiagnosticLog.h"
#include "jjkit/support/Overloaded.h"
#include "jjkit/support/Text.h"

namespace vorda {

namespace {

void log(const std::string& message) {
    DiagnosticLog::writeLine("[hidden-panel] " + message);
}

std::string shortID(const std::string& id) {
    return id.substr(0, 12);
}

}  // namespace

std::string HiddenPanelRow::logText() const {
    return std::visit(Overloaded{
                          [](const Bookmark& row) { return "bookmark(" + row.name + ")"; },
                          [](const Commit& row) {
                              return "commit(" + row.bookmark + ", " + shortID(row.commitID) +
                                     ", " + shortID(row.changeID) + ")";
                          },
                      },
                      value);
}

void HiddenPanelModel::toggleHiddenPanelExpanded(const std::string& name) {
    const auto& open = hiddenPanelExpanded();
    if (open == name) {
        log("collapse " + name);
        setHiddenPanelExpanded(std::nullopt);
        return;
    }
    log("expand " + name + (open ? " (was " + *open + ")" : std::string()));
    setHiddenPanelExpanded(name);
}

void HiddenPanelModel::beginHiddenPanelRename(const std::string& name) {
    log("rename begin " + name);
    setHiddenPanelRenameDraft(name);
    setHiddenPanelRenaming(name);
}

void HiddenPanelModel::cancelHiddenPanelRename() {
    const auto renaming = hiddenPanelRenaming();
    if (!renaming) {
        return;
    }
    log("rename cancel " + *renaming);
    setHiddenPanelRenaming(std::nullopt);
}

std::optional<std::pair<std::string, std::string>> HiddenPanelModel::finishHiddenPanelRename() {
    const auto renaming = hiddenPanelRenaming();
    if (!renaming) {
        return std::nullopt;
    }
    setHiddenPanelRenaming(std::nullopt);
    const std::string draft(text::trimWhitespace(hiddenPanelRenameDraft()));
    if (draft.empty() || draft == *renaming) {
        log("rename no-op " + *renaming);
        return std::nullopt;
    }
    log("rename commit " + *renaming + " -> " + draft);
    return std::pair(*renaming, draft);
}

void HiddenPanelModel::setHiddenPanelCursor(OptionalHiddenPanelRow row) {
    if (hiddenPanelCursor_ == row) {
        return;
    }
    hiddenPanelCursor_ = std::move(row);
    log(hiddenPanelCursor_ ? "cursor " + hiddenPanelCursor_->logText() : "cursor nil");
    Q_EMIT changed();
}

}  // namespace vorda
