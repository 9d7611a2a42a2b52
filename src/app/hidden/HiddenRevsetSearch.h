#pragma once

#include <QObject>
#include <QTimer>
#include <optional>
#include <set>
#include <string>

namespace vorda {

class RepoViewModel;

/// The revset side of the hidden panel's search. Text that is a revset is
/// evaluated 0.3 s after the last change, through the view model's
/// background read; only the answer for the current revset counts, so the
/// newest request wins. While it runs there are no matches; a failure marks
/// the revset invalid. Text that is no revset clears both.
///
/// ```
/// search.setSearch("mine() & ::@");  // evaluating; after 0.3 s jj is asked
/// ```
class HiddenRevsetSearch : public QObject {
    Q_OBJECT

  public:
    explicit HiddenRevsetSearch(RepoViewModel* viewModel, QObject* parent = nullptr);

    /// Follows the search text; the same revset again changes nothing.
    void setSearch(const std::string& text);
    /// Asks again for the current revset (the repository changed), keeping
    /// the last answer until the new one arrives.
    void reevaluate();

    /// The names of the bookmarks whose tips match; absent outside revset
    /// mode and while a new revset is evaluated.
    const std::optional<std::set<std::string>>& matches() const { return matches_; }
    bool isInvalid() const { return invalid_; }

  Q_SIGNALS:
    void changed();

  private:
    void evaluate();

    RepoViewModel* viewModel_;
    QTimer debounce_;
    std::optional<std::string> revset_;
    std::optional<std::set<std::string>> matches_;
    bool invalid_ = false;
};

}  // namespace vorda
