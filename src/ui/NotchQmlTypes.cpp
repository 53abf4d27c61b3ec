#include "ui/NotchQmlTypes.h"
