// The `action` command alone, as main() runs it: the tests start it as a process.
#include "platform/ActionCommand.h"

#include <QString>

int main(int argc, char *argv[])
{
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args << QString::fromLocal8Bit(argv[i]);
    if (args.value(0) != QLatin1String("action"))
        return 64;
    return runActionCommand(args.mid(1));
}
