#include "DetailTexts.h"

#include <QHash>

#include <array>

namespace {

const QLatin1String kColon(": ");

/// What stands by itself.
constexpr std::array kSentences{
    // connections
    QT_TRANSLATE_NOOP("DetailTexts", "network"),
    QT_TRANSLATE_NOOP("DetailTexts", "no connection"),
    QT_TRANSLATE_NOOP("DetailTexts", "no connection within 10 s"),
    QT_TRANSLATE_NOOP("DetailTexts", "no answer over UDP within 5 s"),
    QT_TRANSLATE_NOOP("DetailTexts", "no transfer server is known"),
    QT_TRANSLATE_NOOP("DetailTexts", "the connection is closed"),
    QT_TRANSLATE_NOOP("DetailTexts", "the other side does not answer"),
    QT_TRANSLATE_NOOP("DetailTexts", "the other side does not read"),
    QT_TRANSLATE_NOOP("DetailTexts", "the other side has closed the connection"),
    QT_TRANSLATE_NOOP("DetailTexts", "the other side has not been heard of for 15 s"),
    QT_TRANSLATE_NOOP("DetailTexts", "the server does not know this connection any more"),
    QT_TRANSLATE_NOOP("DetailTexts", "the server showed a certificate that is not the expected one"),
    QT_TRANSLATE_NOOP("DetailTexts", "the service is stopping"),
    QT_TRANSLATE_NOOP("DetailTexts", "too many connections"),
    // tickets
    QT_TRANSLATE_NOOP("DetailTexts", "not logged in for transfers"),
    QT_TRANSLATE_NOOP("DetailTexts", "the address of the service is not valid"),
    QT_TRANSLATE_NOOP("DetailTexts", "the service answered something that is no ticket"),
    QT_TRANSLATE_NOOP("DetailTexts", "the ticket is not valid"),
    QT_TRANSLATE_NOOP("DetailTexts", "the ticket is for something else"),
    QT_TRANSLATE_NOOP("DetailTexts", "too many transfers at once"),
    QT_TRANSLATE_NOOP("DetailTexts", "The user has no home here."),
    QT_TRANSLATE_NOOP("DetailTexts", "The sub-center's storage is not available."),
    QT_TRANSLATE_NOOP("DetailTexts", "The sub-center moves no files now."),
    QT_TRANSLATE_NOOP("DetailTexts", "There is no such sub-center."),
    QT_TRANSLATE_NOOP("DetailTexts", "Too many tickets wait for their use."),
    // files
    QT_TRANSLATE_NOOP("DetailTexts", "a block arrives damaged again and again"),
    QT_TRANSLATE_NOOP("DetailTexts", "a folder"),
    QT_TRANSLATE_NOOP("DetailTexts", "a name that cannot be transferred"),
    QT_TRANSLATE_NOOP("DetailTexts", "access denied"),
    QT_TRANSLATE_NOOP("DetailTexts", "another transfer is writing this file"),
    QT_TRANSLATE_NOOP("DetailTexts", "file error"),
    QT_TRANSLATE_NOOP("DetailTexts", "file is too large"),
    QT_TRANSLATE_NOOP("DetailTexts", "folders are nested too deeply"),
    QT_TRANSLATE_NOOP("DetailTexts", "no space left"),
    QT_TRANSLATE_NOOP("DetailTexts", "not a folder"),
    QT_TRANSLATE_NOOP("DetailTexts", "not a name that can be stored"),
    QT_TRANSLATE_NOOP("DetailTexts", "not enough storage"),
    QT_TRANSLATE_NOOP("DetailTexts", "not found"),
    QT_TRANSLATE_NOOP("DetailTexts", "the file arrives damaged again and again"),
    QT_TRANSLATE_NOOP("DetailTexts", "the file changed while it was sent"),
    QT_TRANSLATE_NOOP("DetailTexts", "the file does not match its digest"),
    QT_TRANSLATE_NOOP("DetailTexts", "the file on the disk has another size"),
    QT_TRANSLATE_NOOP("DetailTexts", "the name cannot be stored here"),
    QT_TRANSLATE_NOOP("DetailTexts", "the name exists already"),
    QT_TRANSLATE_NOOP("DetailTexts", "the name is the one of a partial file"),
    QT_TRANSLATE_NOOP("DetailTexts", "the quota does not allow a file of this size"),
    QT_TRANSLATE_NOOP("DetailTexts", "the quota is used up"),
    // the system
    QT_TRANSLATE_NOOP("DetailTexts", "Connection refused"),
    QT_TRANSLATE_NOOP("DetailTexts", "Connection reset by peer"),
    QT_TRANSLATE_NOOP("DetailTexts", "Connection timed out"),
    QT_TRANSLATE_NOOP("DetailTexts", "Disk quota exceeded"),
    QT_TRANSLATE_NOOP("DetailTexts", "End of file"),
    QT_TRANSLATE_NOOP("DetailTexts", "File name too long"),
    QT_TRANSLATE_NOOP("DetailTexts", "Input/output error"),
    QT_TRANSLATE_NOOP("DetailTexts", "Network is unreachable"),
    QT_TRANSLATE_NOOP("DetailTexts", "No route to host"),
    QT_TRANSLATE_NOOP("DetailTexts", "No space left on device"),
    QT_TRANSLATE_NOOP("DetailTexts", "No such file or directory"),
    QT_TRANSLATE_NOOP("DetailTexts", "Permission denied"),
    QT_TRANSLATE_NOOP("DetailTexts", "Read-only file system"),
};

/// What stands before a colon, and something of the moment behind it.
constexpr std::array kHeads{
    QT_TRANSLATE_NOOP("DetailTexts", "cannot connect"),
    QT_TRANSLATE_NOOP("DetailTexts", "cannot open the folder"),
    QT_TRANSLATE_NOOP("DetailTexts", "cannot read the folder"),
    QT_TRANSLATE_NOOP("DetailTexts", "connection lost"),
    QT_TRANSLATE_NOOP("DetailTexts", "host not found"),
    QT_TRANSLATE_NOOP("DetailTexts", "links and special files that were left out"),
    QT_TRANSLATE_NOOP("DetailTexts", "no encrypted connection"),
    QT_TRANSLATE_NOOP("DetailTexts", "the other side broke the protocol"),
};

} // namespace

/// The sentence as a person reads it; empty when it is another one.
QString DetailTexts::known(const QString &sentence)
{
    static const auto table = [] {
        QHash<QString, const char *> all;
        for (const char *one : kSentences)
            all.insert(QLatin1String(one), one);
        return all;
    }();
    if (const char *source = table.value(sentence))
        return tr(source);
    // "no space left (No space left on device)"
    const int open = sentence.lastIndexOf(QLatin1String(" ("));
    const char *source = open > 0 && sentence.endsWith(QLatin1Char(')')) ? table.value(sentence.left(open)) : nullptr;
    if (!source)
        return QString();
    const QString inner = sentence.mid(open + 2, sentence.size() - open - 3);
    return QStringLiteral("%1 (%2)").arg(tr(source), inWords(inner));
}

QString DetailTexts::inWords(const QString &detail)
{
    const QString whole = known(detail);
    if (!whole.isEmpty())
        return whole;
    for (const char *head : kHeads) {
        const QString words = QLatin1String(head) + kColon;
        const int at = detail.startsWith(words) ? 0 : detail.indexOf(kColon + words) + kColon.size();
        if (at == 0 || at > kColon.size())
            return detail.left(at) + tr(head) + kColon + inWords(detail.mid(at + words.size()));
    }
    // A path may hold colons of its own.
    const int colon = detail.lastIndexOf(kColon);
    const QString last = colon < 0 ? QString() : known(detail.mid(colon + kColon.size()));
    return last.isEmpty() ? detail : detail.left(colon) + kColon + last;
}
