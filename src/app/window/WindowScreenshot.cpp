#include "app/window/WindowScreenshot.h"

#include <QPixmap>
#include <QPointer>
#include <QTimer>

#include "app/viewmodel/RepoViewModel.h"
#include "app/window/RepoWindow.h"

namespace vorda {

void saveScreenshotWhenLoaded(RepoWindow* window, const QString& path,
                              const std::function<void(bool saved)>& then) {
    if (window == nullptr) {
        then(false);
        return;
    }
    RepoViewModel* viewModel = window->viewModel();
    const QPointer<RepoWindow> guarded(window);
    auto capture = [guarded, path, then] {
        // The board renders on the next turn of the event loop after a
        // snapshot lands; give it that turn and a little more for layout.
        QTimer::singleShot(300, [guarded, path, then] {
            const bool saved = guarded && guarded->grab().save(path, "PNG");
            then(saved);
        });
    };
    auto connection = std::make_shared<QMetaObject::Connection>();
    *connection = QObject::connect(&viewModel->board(), &BoardModel::changed, viewModel,
                                   [viewModel, connection, capture] {
                                       if (viewModel->board().isLoading()) {
                                           return;
                                       }
                                       QObject::disconnect(*connection);
                                       capture();
                                   });
}

}  // namespace vorda
