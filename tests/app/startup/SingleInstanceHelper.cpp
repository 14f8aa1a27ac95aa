// A program that is a single instance and tells on its standard output what happens to its window.
// Argument 1: "maximized" or "normal".

#include "SingleApplication.h"

#include <QEvent>
#include <QSocketNotifier>
#include <QWidget>

#include <cstdio>

class TellingWindow : public QWidget
{
    Q_OBJECT

protected:
    void changeEvent(QEvent *event) override
    {
        if (event->type() == QEvent::WindowStateChange) {
            std::puts(isMaximized() ? "maximized" : "normal");
            std::fflush(stdout);
        }
        QWidget::changeEvent(event);
    }
};

int main(int argc, char **argv)
{
    SingleApplication application(argc, argv);
    if (application.isRunning())
        return 7;
    TellingWindow window;
    application.setWindow(&window);
    if (application.arguments().value(1) == QLatin1String("maximized"))
        window.showMaximized();
    else
        window.show();
    std::puts("ready");
    std::fflush(stdout);
    QSocketNotifier input(0, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [&application] { application.quit(); });
    return application.exec();
}
#include "SingleInstanceHelper.moc"
