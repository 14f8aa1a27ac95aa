#include "CommandLine.h"

#include "TestSupport.h"

#include <QCommandLineParser>

namespace {

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

QString shown(const CommandLine &line)
{
    const auto list = [](const QStringList &items) {
        return QLatin1Char('[') + items.join(QLatin1Char('|')) + QLatin1Char(']');
    };
    return QStringList{line.user,
                       line.password,
                       line.subCenter,
                       line.path,
                       list(line.request.filelist),
                       list(line.request.dirlist),
                       line.request.local,
                       line.request.remote,
                       QString::number(line.request.method),
                       line.browserLaunch ? s("hidden") : s("shown"),
                       line.isConsistent() ? s("good") : s("bad")}
        .join(QLatin1Char(';'));
}

} // namespace

class CommandLineTest : public StrictTest
{
    Q_OBJECT

private slots:
    void read_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const QStringList &arguments, const char *expected) {
            QTest::newRow(name) << arguments << QString::fromUtf8(expected);
        };
        row("nothing", {}, ";;;;[];[];;;-1;shown;good");
        row("all, short",
            {s("-user"), s("al"), s("-pass"), s("pw"), s("-sc"), s("2"), s("-p"), s("/a b"), s("-m"), s("1"), s("-fl"),
             s("a,b"), s("-dl"), s("c"), s("-l"), s("/tmp/x"), s("-r"), s("/home/al")},
            "al;pw;2;/a b;[a|b];[c];/tmp/x;/home/al;1;shown;good");
        row("all, long",
            {s("--username=al"), s("--password=pw"), s("--subcenter=2"), s("--path=/"), s("--method=0"),
             s("--filelist=a"), s("--dirlist=,"), s("--local=l"), s("--remote=r")},
            "al;pw;2;/;[a];[|];l;r;0;shown;good");
        row("trimmed",
            {s("-user"), s("  al\t"), s("-pass"), s(" p w "), s("-sc"), s(" 1 "), s("-fl"), s(" a , b "), s("-l"),
             s(" /x "), s("-r"), s("\n/y ")},
            "al;p w;1;;[a |"
            " b];[];/x;/y;-1;shown;good");
        row("password without user", {s("-pass"), s("pw")}, ";pw;;;[];[];;;-1;shown;bad");
        row("password with blank user", {s("-pass"), s("pw"), s("-user"), s(" ")}, ";pw;;;[];[];;;-1;shown;bad");
        row("path without sub-center", {s("-p"), s("/a")}, ";;;/a;[];[];;;-1;shown;bad");
        row("method is no number", {s("-m"), s("up")}, ";;;;[];[];;;0;shown;good");
        row("link of a web page", {s("zparkvale://open?x=1")}, ";;;;[];[];;;-1;hidden;good");
        row("link inside a value", {s("-r"), s("/zparkvale")}, ";;;;[];[];;/zparkvale;-1;hidden;good");
        row("link in parts", {s("zpark"), s("vale")}, ";;;;[];[];;;-1;shown;good");
        row("other names", {s("-fl"), s("名 字'.txt,%1"), s("-user"), s("张")},
            "张;;;;[名 字'.txt|%1];[];;;-1;shown;good");
    }

    void read()
    {
        QFETCH(QStringList, arguments);
        arguments.prepend(s("ArkvaleTolma"));
        QCommandLineParser parser;
        CommandLine::addOptions(&parser);
        QVERIFY2(parser.parse(arguments), qPrintable(parser.errorText()));
        QTEST(shown(CommandLine::read(parser, arguments)), "expected");
    }
};

ARKVALE_GUILESS_TEST(CommandLineTest)
#include "CommandLineTest.moc"
