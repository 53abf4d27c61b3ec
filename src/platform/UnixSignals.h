#pragma once

// SIGINT and SIGTERM end the event loop in order (aboutToQuit runs, so the socket file
// is removed); SIGPIPE is ignored so a terminal that vanished mid-write cannot kill us.
namespace UnixSignals {
void quitOnTermination();
}
