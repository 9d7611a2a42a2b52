#pragma once

#include <QObject>

#include "app/viewmodel/ObservableField.h"
#include "app/viewmodel/ViewModelTypes.h"

namespace vorda {

/// The error field an error status shows, so that "Dismiss" clears exactly
/// that one and leaves the others for the next look.
enum class ActivityErrorField { mutation, fetch, push, undo };

/// What is running and what went wrong: the in-flight flags and progress of
/// each kind of command, their last errors, and the transient toast. The
/// toolbar's activity area and the menus' enable rules read it.
class ActivityModel : public QObject {
    Q_OBJECT

  public:
    explicit ActivityModel(QObject* parent = nullptr) : QObject(parent) {}

    void setMutationError(OptionalText value);
    void setFetchError(OptionalText value);
    void setPushError(OptionalText value);
    void setUndoError(OptionalText value);
    /// Clears one error field ("Dismiss").
    void dismiss(ActivityErrorField field);
    /// Adds or removes a bookmark from those being pushed.
    void markPushing(const std::string& bookmark, bool pushing);

  Q_SIGNALS:
    void changed();

  private:
    VORDA_FIELD(bool, isMutating, setIsMutating);
    VORDA_FIELD(OptionalText, mutationError, setMutationErrorField);
    VORDA_FIELD(OptionalText, mutationLabel, setMutationLabel);
    VORDA_FIELD(bool, fetchInFlight, setFetchInFlight);
    VORDA_FIELD(OptionalText, fetchError, setFetchErrorField);
    VORDA_FIELD(OptionalText, fetchStatus, setFetchStatus);
    VORDA_FIELD(OptionalTime, fetchStartedAt, setFetchStartedAt);
    VORDA_FIELD(StringSet, pushInFlight, setPushInFlight);
    VORDA_FIELD(OptionalText, pushError, setPushErrorField);
    VORDA_FIELD(bool, undoInFlight, setUndoInFlight);
    VORDA_FIELD(OptionalText, undoError, setUndoErrorField);
    VORDA_FIELD(OptionalText, toastMessage, setToastMessage);
};

}  // namespace vorda
