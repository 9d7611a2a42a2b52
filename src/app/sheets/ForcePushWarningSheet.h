#pragma once

#include <optional>
#include <string>

#include "app/sheets/SheetDialog.h"
#include "app/viewmodel/ViewModelTypes.h"

namespace vorda {

class RepoViewModel;

/// "Force push NAME": says what a forced push will do to the remote and to
/// an open pull request; "Force Push" sends `performPush`.
class ForcePushWarningSheet : public SheetDialog {
    Q_OBJECT

  public:
    ForcePushWarningSheet(RepoViewModel& viewModel, const ForcePushRequest& request,
                          const std::optional<GitHubPR>& pr, QWidget* parent);

    /// What the push does to the remote, by how the bookmark stands.
    static std::string primaryMessage(const RemoteSyncState& state);
    /// What happens to an open pull request; empty without one.
    static std::string pullRequestMessage(const std::optional<GitHubPR>& pr);
};

}  // namespace vorda
