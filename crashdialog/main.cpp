// Shows argument 1 as a message, argument 2 as the title and argument 3 as the text of its one button.

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>

int main(int argc, char **argv)
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    QMessageBox box;
    box.setIcon(QMessageBox::Critical);
    box.setTextFormat(Qt::PlainText);
    box.setText(arguments.value(1, QStringLiteral("ArkvaleTolma is crashed!")));
    box.setWindowTitle(arguments.value(2, QStringLiteral("app crash")));
    box.addButton(arguments.value(3, QStringLiteral("OK")), QMessageBox::AcceptRole);
    box.exec();
    return 0;
}
