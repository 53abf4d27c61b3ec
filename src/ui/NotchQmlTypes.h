#pragma once

#include "alerts/NotchViewModel.h"

#include <QtQml/qqml.h>

// The notch's view model as the QML type "NotchViewModel" of Quillmote.Ui. The model lives
// in the alerts layer, which knows nothing of QML; views get the instance from their window.
struct NotchViewModelForeign {
    Q_GADGET
    QML_FOREIGN(NotchViewModel)
    QML_NAMED_ELEMENT(NotchViewModel)
    QML_UNCREATABLE("The notch controller owns its view model")
};
