#pragma once

#include "TestSupport.h"

/// What goes wrong: hostile and dying services, and clients that go away with calls under way.
class OrvClientFaultTest : public StrictTest
{
    Q_OBJECT

private slots:
    void everyOperationAnswersOnce_data();
    void everyOperationAnswersOnce();
    void noAddress();
    void hungConnect();
    void redirectsStayHome_data();
    void redirectsStayHome();
    void tlsIsVerified();
    void failedFileLeavesTheOldOne_data();
    void failedFileLeavesTheOldOne();
    void destroyedClientIsSilent();
    void destroyedInsideTheAnswer();
    void endOfTheThreadAnswers();
};
