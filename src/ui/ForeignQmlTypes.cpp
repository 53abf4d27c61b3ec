#include "ui/ForeignQmlTypes.h"
