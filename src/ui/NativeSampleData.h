#pragma once

#include "model/PanelState.h"

#include <QByteArray>
#include <QDateTime>

// The fixed document behind the sample-data preview window: the own identity, three
// connected contacts, one pending request and messages both ways (plain text, a finding
// with code, a discussion with data, a notice). Message times are written into the text
// relative to `now`, so the preview always shows recent conversations.
namespace NativeSampleData {
QByteArray json(const QDateTime &now = QDateTime::currentDateTimeUtc());
// The decoded sample. The sample and the records must stay in step: a sample that no
// longer decodes stops the program.
PanelState state(const QDateTime &now = QDateTime::currentDateTimeUtc());
} // namespace NativeSampleData
