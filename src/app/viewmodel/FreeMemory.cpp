#include "app/viewmodel/FreeMemory.h"

#include <QCoreApplication>
#include <QTimer>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace vorda {

void releaseFreeMemorySoon() {
#if defined(__GLIBC__)
    static bool scheduled = false;
    if (scheduled || QCoreApplication::instance() == nullptr) {
        return;
    }
    scheduled = true;
    QTimer::singleShot(0, QCoreApplication::instance(), [] {
        scheduled = false;
        malloc_trim(0);
    });
#endif
}

}  // namespace vorda
