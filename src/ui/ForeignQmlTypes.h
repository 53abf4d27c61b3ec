#pragma once

#include "alerts/NotchViewModel.h"
#include "state/SessionListModel.h"

#include <QtQml/qqml.h>

// Models of layers that know nothing of QML, as QML types of Quillmote.Ui, so views declare
// them by type. Views get the instances from their window or view model.

struct NotchViewModelForeign {
    Q_GADGET
    QML_FOREIGN(NotchViewModel)
    QML_NAMED_ELEMENT(NotchViewModel)
    QML_UNCREATABLE("The notch controller owns its view model")
};

struct NotchMotionForeign {
    Q_GADGET
    QML_FOREIGN(NotchMotion)
    QML_VALUE_TYPE(notchMotion)
};

struct SessionListModelForeign {
    Q_GADGET
    QML_FOREIGN(SessionListModel)
    QML_NAMED_ELEMENT(SessionListModel)
    QML_UNCREATABLE("The main view model owns the session list")
};
