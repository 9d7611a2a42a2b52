#include "app/hidden/HiddenRevsetSearch.h"

#include <QPointer>
#include <chrono>

#include "app/hidden/HiddenPanelRows.h"
#include "app/viewmodel/RepoViewModel.h"

namespace vorda {

namespace {

constexpr std::chrono::milliseconds debounceDelay{300};

}  // namespace

HiddenRevsetSearch::HiddenRevsetSearch(RepoViewModel* viewModel, QObject* parent)
    : QObject(parent), viewModel_(viewModel) {
    debounce_.setSingleShot(true);
    debounce_.setInterval(debounceDelay);
    connect(&debounce_, &QTimer::timeout, this, &HiddenRevsetSearch::evaluate);
}

void HiddenRevsetSearch::setSearch(const std::string& text) {
    auto revset = hiddenpanel::revsetQuery(text);
    if (revset == revset_) {
        return;
    }
    revset_ = std::move(revset);
    matches_.reset();
    invalid_ = false;
    if (revset_) {
        debounce_.start();
    } else {
        debounce_.stop();
    }
    Q_EMIT changed();
}

void HiddenRevsetSearch::reevaluate() {
    if (revset_ && !debounce_.isActive()) {
        debounce_.start();
    }
}

void HiddenRevsetSearch::evaluate() {
    if (!revset_) {
        return;
    }
    viewModel_->loadBookmarkNames(*revset_,
                                  [guard = QPointer(this), revset = *revset_](const auto& outcome) {
                                      auto* self = guard.data();
                                      if (self == nullptr || self->revset_ != revset) {
                                          return;
                                      }
                                      self->invalid_ = !outcome.value.has_value();
                                      if (outcome.value) {
                                          self->matches_ = *outcome.value;
                                      }
                                      Q_EMIT self->changed();
                                  });
}

}  // namespace vorda
