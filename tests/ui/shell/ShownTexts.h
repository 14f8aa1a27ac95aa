#pragma once

#include <QAbstractItemView>
#include <QAction>
#include <QCoreApplication>
#include <QEventLoop>
#include <QTabWidget>
#include <QTimer>
#include <QTranslator>
#include <QWidget>

/// A language in which every text stands between marks, for as long as the object lives.
class MarkedLanguage : public QTranslator
{
public:
    MarkedLanguage() { QCoreApplication::installTranslator(this); }
    ~MarkedLanguage() override { QCoreApplication::removeTranslator(this); }
    bool isEmpty() const override { return false; }
    QString translate(const char *, const char *source, const char *, int) const override
    {
        return QLatin1Char('[') + QString::fromUtf8(source) + QLatin1Char(']');
    }
};

/// Every text that a window and what is in it show, tool tips and the rows of lists included, in no order of their
/// making.
inline QStringList shownTexts(QWidget *window)
{
    // A loop of its own: only one that goes on removes what was replaced.
    QEventLoop loop;
    QTimer::singleShot(0, &loop, [&loop] { QTimer::singleShot(0, &loop, &QEventLoop::quit); });
    loop.exec();
    QStringList texts;
    const auto note = [&texts](const QObject *object, const QString &what, const QString &text) {
        // The toolkit's own scroll buttons of a tab bar keep the language that they were made in.
        if (!text.isEmpty() && !object->objectName().startsWith(QLatin1String("Scroll")))
            texts << QStringLiteral("%1 %2 %3: %4")
                         .arg(QLatin1String(object->metaObject()->className()), object->objectName(), what, text);
    };
    QList<QObject *> objects = window->findChildren<QObject *>();
    objects << window;
    for (const QObject *object : qAsConst(objects)) {
        for (const char *name : {"text", "toolTip", "statusTip", "accessibleName", "accessibleDescription",
                                 "placeholderText", "windowTitle", "title"})
            note(object, QLatin1String(name), object->property(name).toString());
        if (const auto *tabs = qobject_cast<const QTabWidget *>(object)) {
            for (int i = 0; i < tabs->count(); ++i) {
                note(object, QStringLiteral("tab"), tabs->tabText(i));
                note(object, QStringLiteral("tab's tip"), tabs->tabToolTip(i));
            }
        }
        const auto *view = qobject_cast<const QAbstractItemView *>(object);
        const bool rows = view && !view->inherits("QHeaderView");
        const QAbstractItemModel *model = rows ? view->model() : nullptr;
        for (int column = 0; model && column < model->columnCount(); ++column) {
            note(object, QStringLiteral("head"), model->headerData(column, Qt::Horizontal).toString());
            for (int row = 0; row < model->rowCount(); ++row) {
                note(object, QStringLiteral("cell"), model->index(row, column).data().toString());
                note(object, QStringLiteral("cell's tip"), model->index(row, column).data(Qt::ToolTipRole).toString());
            }
        }
    }
    texts.sort();
    return texts;
}
