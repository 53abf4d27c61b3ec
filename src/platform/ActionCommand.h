#pragma once

#include <QStringList>

// `quillmote-notifier action NAME [ARGS…]`: asks the running app (started through D-Bus
// activation when it is not running) to perform one action, prints the result dialog on
// stdout and exits 0; prints the error on stderr and exits 1; exits 2 when the user
// declined. `action --help` lists the actions. Also serves the shell completion:
// `action --names`, `action --complete NAME INDEX WORD`.
//
// `args` are the words after "action". Creates a QCoreApplication when there is none, so
// main() can call it before making its own application object.
int runActionCommand(const QStringList &args);

namespace ActionCommand {
enum ExitCode { ok = 0, failed = 1, cancelled = 2, usage = 64 };
}
