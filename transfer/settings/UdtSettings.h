#pragma once

#include "TransferSettings.h"

#include <QWidget>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class SpeedGroup;

/// The transfer page of the settings: type, modes and target speeds of one sub-center at a time, verification of files
/// and where downloads go. Nothing is kept before ApplySetting(). GUI thread only.
class UdtSettings : public QWidget
{
    Q_OBJECT

public:
    /// Shows the sub-center that is current in the store.
    explicit UdtSettings(QWidget *parent = nullptr);

    /// The sub-center whose settings are shown; empty when none is known.
    QString subCenterId() const;

public slots:
    /// Keeps what the page shows and tells of it. Returns without a word when there is no sub-center.
    void ApplySetting();
    /// Asks when the type is not the stored one; a refusal puts the stored one back.
    void OnTransferTypeChanged(int index);

signals:
    /// @param subCenterId the sub-center whose parameters were set
    void SettingChanged(QString subCenterId);

protected:
    /// Asks for a folder; empty when none was chosen.
    virtual QString chooseFolder(const QString &start);

private:
    QWidget *buildHead();
    QWidget *buildDownloadPath();
    void load();
    void showLimits();
    void browse();
    void tell(const QString &text, bool warning);

    QComboBox *m_center;
    QComboBox *m_type;
    SpeedGroup *m_upload;
    SpeedGroup *m_download;
    QComboBox *m_verify;
    QRadioButton *m_alwaysAsk;
    QRadioButton *m_alwaysSame;
    QLineEdit *m_path;
    QPushButton *m_browse;
    QLabel *m_notice;
    TargetSpeed m_stored;
};
