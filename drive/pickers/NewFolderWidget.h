#pragma once

#include <QDialog>
#include <QSet>

class QLineEdit;

/// Asks for a name: of a new folder, of an entry to rename, or of an archive. Refuses names that break the rules or are
/// there already and stays open then. GUI thread only.
class NewFolderWidget : public QDialog
{
    Q_OBJECT

public:
    enum Mode
    {
        NewFolder,
        Rename,
        Compress
    };

    /// @param existing names in the folder
    /// @param oldName the name to change, for Rename
    NewFolderWidget(Mode mode, const QSet<QString> &existing, const QString &oldName = QString(),
                    QWidget *parent = nullptr);

    /// The name accepted; that of an archive ends in ".zip".
    QString name() const { return m_name; }

public slots:
    void OkPressed();
    void onCompress();
    void MatchFileName(const QString &text);

private:
    void refuse(const QString &text);
    void take(const QString &name, const QString &refusal);

    Mode m_mode;
    QSet<QString> m_existing;
    QString m_oldName;
    QString m_name;
    QLineEdit *m_edit;
};
