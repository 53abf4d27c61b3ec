#include "core/Characters.h"

#include <QRegularExpression>
#include <QTextBoundaryFinder>

namespace Characters {

qsizetype count(const QString &text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype n = 0;
    while (finder.toNextBoundary() > 0)
        ++n;
    return n;
}

QString first(const QString &text, qsizetype n)
{
    if (n <= 0)
        return {};
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    for (qsizetype i = 0; i < n; ++i) {
        const qsizetype next = finder.toNextBoundary();
        if (next < 0)
            break;
        end = next;
    }
    return text.left(end);
}

QString initials(const QString &name)
{
    static const QRegularExpression separators(QStringLiteral("[\\s_\\-.@]+"));
    const QStringList words = name.split(separators, Qt::SkipEmptyParts);
    if (words.isEmpty())
        return QStringLiteral("?");
    const QString out = words.size() >= 2 ? first(words[0], 1) + first(words[1], 1) : first(words[0], 2);
    return out.toUpper();
}

} // namespace Characters
