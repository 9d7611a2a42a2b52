#pragma once

#include <QString>
#include <functional>

namespace vorda {

class RepoWindow;

/// Saves a picture of `window` as PNG at `path` once its first load has
/// finished (the board, or the load's error) and the board has been laid
/// out, then calls `then` with whether the file was written. Used where no
/// display is available, to show what the window would look like.
void saveScreenshotWhenLoaded(RepoWindow* window, const QString& path,
                              const std::function<void(bool saved)>& then);

}  // namespace vorda
