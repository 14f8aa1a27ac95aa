#pragma once

#include "TestSupport.h"

/// The model under the views: order, changes, drops.
class FileItemModelTest : public StrictTest
{
    Q_OBJECT

private slots:
    void followsAReferenceList();
    void aLongListIsSortedAsideAndChangesWaitTheirTurn();
    void renamedRowsKeepTheirIndexes();
    void nothingHappensAfterDestruction();
    void dropsAreAcceptedWhereTheyMakeSense_data();
    void dropsAreAcceptedWhereTheyMakeSense();
    void dragsCarryTheRecord();
    void textsStayInTheirRow();
};
