// The client as it always starts, used through lines of JSON on standard input in place of mouse and keyboard: each
// line asks for one thing of what is visible now and is answered by one line. The end of the input ends nothing.

#include "CommandLine.h"
#include "LoginCycle.h"
#include "ProcessSetup.h"
#include "SingleApplication.h"
#include "Theme.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QClipboard>
#include <QCommandLineParser>
#include <QDir>
#include <QFileDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QSocketNotifier>
#include <QTabWidget>
#include <QTextEdit>
#include <QToolButton>

#include <cstdio>
#include <functional>

#include <unistd.h>

namespace {

/// The visible widget of that name: in the dialog that is open before anywhere else.
QWidget *visible(const QString &name)
{
    QWidget *found = nullptr;
    const QWidgetList all = QApplication::allWidgets();
    for (QWidget *widget : all) {
        if (widget->objectName() != name || !widget->isVisible())
            continue;
        const QWidget *dialog = QApplication::activeModalWidget();
        if (!dialog || widget == dialog || dialog->isAncestorOf(widget))
            return widget;
        found = widget;
    }
    return found;
}

/// What a click would do, after this line has been answered: it may open a dialog, which returns late.
void later(QObject *object, const char *slot)
{
    QMetaObject::invokeMethod(object, slot, Qt::QueuedConnection);
}

QString textOf(const QWidget *widget)
{
    for (const char *property : {"text", "plainText"}) {
        const QVariant value = widget ? widget->property(property) : QVariant();
        if (value.isValid())
            return value.toString();
    }
    return {};
}

QModelIndex find(const QAbstractItemModel *model, const QString &text, const QModelIndex &parent = {})
{
    for (int row = 0; row < model->rowCount(parent); ++row) {
        const QModelIndex index = model->index(row, 0, parent);
        if (index.data().toString() == text)
            return index;
        if (const QModelIndex inner = find(model, text, index); inner.isValid())
            return inner;
    }
    return {};
}

QJsonValue rowsOf(const QAbstractItemView *view)
{
    QJsonArray rows;
    const QAbstractItemModel *model = view->model();
    for (int row = 0; row < model->rowCount(view->rootIndex()); ++row) {
        QJsonArray texts;
        for (int column = 0; column < model->columnCount(view->rootIndex()); ++column)
            texts << model->index(row, column, view->rootIndex()).data().toString();
        rows << texts;
    }
    return rows;
}

QJsonValue select(QAbstractItemView *view, const QJsonArray &texts, bool open)
{
    view->clearSelection();
    for (const QJsonValue &text : texts) {
        const QModelIndex index = find(view->model(), text.toString());
        if (!index.isValid())
            return false;
        view->selectionModel()->select(index, QItemSelectionModel::Select | QItemSelectionModel::Rows);
        view->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
        if (open) {
            QMetaObject::invokeMethod(
                view, [view, index = QPersistentModelIndex(index)] { emit view->activated(index); },
                Qt::QueuedConnection);
        }
    }
    return true;
}

/// A command of a menu that is open, or that a visible button opens, by its words.
QAction *actionOf(const QString &text)
{
    const QWidgetList all = QApplication::allWidgets();
    for (const QWidget *widget : all) {
        if (!widget->isVisible())
            continue;
        const auto *button = qobject_cast<const QToolButton *>(widget);
        const QMenu *menu = button ? button->menu() : qobject_cast<const QMenu *>(widget);
        const auto actions = menu ? menu->actions() : QList<QAction *>();
        for (QAction *action : actions) {
            if (action->text() == text && action->isEnabled())
                return action;
        }
    }
    return nullptr;
}

bool pick(const QStringList &paths)
{
    auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
    auto *edit = dialog ? dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit")) : nullptr;
    if (!edit)
        return false;
    edit->setText(paths.size() == 1 ? paths.first() : QLatin1Char('"') + paths.join("\" \"") + QLatin1Char('"'));
    later(dialog, "accept");
    return true;
}

/// Null where there is nothing of that name, or it cannot be used now.
QJsonValue answer(const QString &what, const QString &name, const QJsonValue &value)
{
    if (what == QLatin1String("dialog")) {
        const QWidget *dialog = QApplication::activeModalWidget();
        return dialog ? dialog->objectName() : QString();
    }
    if (what == QLatin1String("clipboard"))
        return QGuiApplication::clipboard()->text();
    if (what == QLatin1String("pick"))
        return pick(value.toVariant().toStringList());
    if (what == QLatin1String("command")) {
        QAction *action = actionOf(name);
        if (action)
            later(action, "trigger");
        return action ? QJsonValue(true) : QJsonValue();
    }
    QWidget *widget = visible(name);
    if (what == QLatin1String("see"))
        return widget != nullptr;
    if (!widget || !widget->isEnabled())
        return {};
    if (what == QLatin1String("text"))
        return textOf(widget);
    if (what == QLatin1String("picture"))
        return widget->window()->grab().save(value.toString());
    auto *button = qobject_cast<QAbstractButton *>(widget);
    if (what == QLatin1String("press") && button) {
        later(button, "click");
        return true;
    }
    if (what == QLatin1String("type"))
        return widget->setProperty(qobject_cast<QPlainTextEdit *>(widget) ? "plainText" : "text", value.toString());
    if (auto *tabs = qobject_cast<QTabWidget *>(widget)) {
        tabs->setCurrentIndex(value.toInt());
        return true;
    }
    auto *view = qobject_cast<QAbstractItemView *>(widget);
    if (!view)
        return {};
    if (what == QLatin1String("rows"))
        return rowsOf(view);
    return select(view, value.toArray(), what == QLatin1String("open"));
}

/// Reads the lines and answers them, also while a dialog is open.
class Hand : public QObject
{
public:
    Hand()
        : m_input(STDIN_FILENO, QSocketNotifier::Read)
    {
        connect(&m_input, &QSocketNotifier::activated, this, [this] { read(); });
    }

private:
    void read()
    {
        char buffer[4096];
        const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (got <= 0)
            return m_input.setEnabled(false);
        m_text.append(buffer, int(got));
        for (int end = m_text.indexOf('\n'); end >= 0; end = m_text.indexOf('\n')) {
            const QJsonObject asked = QJsonDocument::fromJson(m_text.left(end)).object();
            m_text.remove(0, end + 1);
            const QJsonObject told{
                {"is", answer(asked.value("do").toString(), asked.value("name").toString(), asked.value("value"))}};
            std::fputs(QJsonDocument(told).toJson(QJsonDocument::Compact).append('\n').constData(), stdout);
            std::fflush(stdout);
        }
    }

    QSocketNotifier m_input;
    QByteArray m_text;
};

} // namespace

int main(int argc, char **argv)
{
    ProcessSetup::setLocaleCodec();
    SingleApplication application(argc, argv);
    QDir::setCurrent(QCoreApplication::applicationDirPath());
    QCommandLineParser parser;
    CommandLine::addOptions(&parser);
    parser.process(application);
    if (application.isRunning())
        return 0;
    Theme::apply(&application, false);
    LoginCycle cycle(&application, CommandLine::read(parser, QCoreApplication::arguments()));
    TerminationRequest termination;
    QObject::connect(&termination, &TerminationRequest::requested, &cycle, &LoginCycle::end);
    Hand hand;
    while (cycle.run()) {
    }
    if (cycle.lastAct())
        cycle.lastAct()();
    return 0;
}
