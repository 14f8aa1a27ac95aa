#pragma once

#include "SubCenter.h"
#include "TransferSettings.h"

#include <QObject>

class CommandLineTransfer;
class NetdiskPage;
class OrderedWork;

/// Carries out on a drive page what the command line asked for: looks at the remote folder, hands transfers to the
/// page, and tells what cannot be done by problem(). Belongs to its page and ends with it. GUI thread only.
class CommandLineRunner : public QObject
{
    Q_OBJECT

public:
    CommandLineRunner(const CommandLineRequest &request, NetdiskPage *page);

    void start();

signals:
    /// A text for the person, the log and the standard error stream.
    void problem(QString text);

private:
    void list(const QString &folder, int tries);

    NetdiskPage *m_page;
    SubCenter m_center;
    CommandLineTransfer *m_transfer;
    OrderedWork *m_work;
};
