#pragma once

#include <QObject>

#include "app/viewmodel/DiffCache.h"
#include "app/viewmodel/ObservableField.h"
#include "app/viewmodel/ViewModelTypes.h"

namespace vorda {

/// The diff column's text, whether it is loading, why the last read failed,
/// and the texts of fixed revsets already read.
class DiffModel : public QObject {
    Q_OBJECT

  public:
    explicit DiffModel(QObject* parent = nullptr) : QObject(parent) {}

    DiffCache& cache() { return cache_; }
    const DiffCache& cache() const { return cache_; }

  Q_SIGNALS:
    void changed();

  private:
    VORDA_FIELD(OptionalText, diffText, setDiffText);
    VORDA_FIELD(bool, isDiffLoading, setIsDiffLoading);
    VORDA_FIELD(OptionalText, diffError, setDiffError);

    DiffCache cache_;
};

}  // namespace vorda
