#pragma once

#include <QObject>
#include <set>
#include <string>
#include <vector>

#include "jjkit/records/JJCommit.h"

namespace vorda {

class CommitCardDelegate;
class CommitListModel;
class CommitListView;

/// The per-commit file lists of one lane's cards. While they are shown the
/// cards that come into view ask for their files, each commit once (by
/// commit ID: a rewritten commit asks again), and a card grows by its list
/// when the files arrive. Cards scrolled out of sight ask for nothing, so a
/// long history costs one read per card the user actually looks at.
///
/// ```
/// auto* lists = new CardFileLists(list, model, delegate, column);
/// connect(lists, &CardFileLists::filesWanted, board, &Board::loadFiles);
/// lists->setShown(true);
/// // later, with the answer:
/// lists->showFiles(commitID, files);
/// ```
class CardFileLists : public QObject {
    Q_OBJECT

  public:
    CardFileLists(CommitListView* list, CommitListModel* model, CommitCardDelegate* delegate,
                  QObject* parent);

    void setShown(bool shown);
    bool isShown() const;
    /// The files of `commitID`, as read for the card that asked.
    void showFiles(const std::string& commitID, std::vector<ChangedFile> files);

  Q_SIGNALS:
    /// A card in view wants the files of its commit.
    void filesWanted(const std::string& changeID, const std::string& commitID);

  private:
    void scheduleLoads();
    void loadVisible();

    CommitListView* list_;
    CommitListModel* model_;
    CommitCardDelegate* delegate_;
    std::set<std::string> requested_;
    bool loadsScheduled_ = false;
};

}  // namespace vorda
