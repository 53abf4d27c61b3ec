#pragma once

#include <QString>

namespace IPCPath {

// $QUILLMOTE_HOME/notifier.sock when set and non-empty, else <home>/.quillmote/notifier.sock
// with home from $HOME (when non-empty) or the password database.
QString socketPath();

// The folder that holds the socket.
QString directory();

} // namespace IPCPath
