#pragma once

#include <QObject>
#include <QString>

/// Writes the program's log lines to rotating files of bounded size in the user's state folder, readable by the user
/// alone. Logging never fails the caller: a file that cannot be written drops the line. Usable from any thread.
class zpt_logger : public QObject
{
    Q_OBJECT

public:
    explicit zpt_logger(QObject *parent = nullptr);
    ~zpt_logger() override;

    /// Returns the id of the logger of that name, making it when it is new. The id holds for the process.
    int RegisterLogger(QString name);

public slots:
    /// Level 600 is an ordinary message; lower numbers are graver (see docs). An unknown logger id is ignored.
    void SlotWriteLog(int loggerId, int logLevel, QString message, const wchar_t *fileName, int lineNum);
};
