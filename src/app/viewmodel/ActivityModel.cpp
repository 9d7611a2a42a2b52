#include "app/viewmodel/ActivityModel.h"

#include "app/viewmodel/ErrorLog.h"

namespace vorda {

void ActivityModel::setMutationError(OptionalText value) {
    logErrorField("mutationError", mutationError(), value);
    setMutationErrorField(std::move(value));
}

void ActivityModel::setFetchError(OptionalText value) {
    logErrorField("fetchError", fetchError(), value);
    setFetchErrorField(std::move(value));
}

void ActivityModel::setPushError(OptionalText value) {
    logErrorField("pushError", pushError(), value);
    setPushErrorField(std::move(value));
}

void ActivityModel::setUndoError(OptionalText value) {
    logErrorField("undoError", undoError(), value);
    setUndoErrorField(std::move(value));
}

void ActivityModel::dismiss(ActivityErrorField field) {
    switch (field) {
        case ActivityErrorField::mutation:
            setMutationError(std::nullopt);
            break;
        case ActivityErrorField::fetch:
            setFetchError(std::nullopt);
            break;
        case ActivityErrorField::push:
            setPushError(std::nullopt);
            break;
        case ActivityErrorField::undo:
            setUndoError(std::nullopt);
            break;
    }
}

void ActivityModel::markPushing(const std::string& bookmark, bool pushing) {
    StringSet names = pushInFlight();
    if (pushing) {
        names.insert(bookmark);
    } else {
        names.erase(bookmark);
    }
    setPushInFlight(std::move(names));
}

}  // namespace vorda
