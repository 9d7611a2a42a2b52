#pragma once

#include <QObject>

#include "app/viewmodel/ObservableField.h"
#include "app/viewmodel/ViewModelTypes.h"

namespace vorda {

using OptionalConfirmation = std::optional<ConfirmationRequest>;
using OptionalForcePush = std::optional<ForcePushRequest>;

/// The dialogs the repository asks for: a confirmation a command needs
/// before it runs, and the warning before a force push. The window opens the
/// dialog when a request appears and clears it when the dialog closes.
class SheetRequests : public QObject {
    Q_OBJECT

  public:
    explicit SheetRequests(QObject* parent = nullptr) : QObject(parent) {}

  Q_SIGNALS:
    void changed();

  private:
    VORDA_FIELD(OptionalConfirmation, confirmationRequest, setConfirmationRequest);
    VORDA_FIELD(OptionalForcePush, forcePushConfirmation, setForcePushConfirmation);
};

}  // namespace vorda
