#pragma once

#include <QObject>

/// What a process needs before and beside its application object, per platform.
namespace ProcessSetup {

/// Lets the process be examined after a crash (Windows only). Failure is ignored.
void enableDebugPrivilege();

/// Windows: "GB18030" as the codec of the locale. Elsewhere file names and arguments pass through that codec, so it
/// stays the locale's own, and a locale without a character set of its own is taken as UTF-8. Before the application
/// object.
void setLocaleCodec();

/// The person has a dark desktop. After the application object and before its palette is set.
bool prefersDark();

} // namespace ProcessSetup

/// Tells when the system asks the process to end: SIGTERM and SIGINT, where there are signals. At most one object a
/// process; the signals have their usual effect again when it is destroyed. GUI thread.
class TerminationRequest : public QObject
{
    Q_OBJECT

public:
    explicit TerminationRequest(QObject *parent = nullptr);
    ~TerminationRequest() override;

signals:
    void requested();

private:
    struct State;
    State *m_state = nullptr;
};
