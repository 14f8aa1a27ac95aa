#pragma once

#include <QPixmap>
#include <QSize>
#include <QString>

class MovableGroupBox;
class QDialog;
class QHBoxLayout;
class QLabel;
class QPushButton;
class QToolButton;
class QVBoxLayout;

/// The frame that the client's frameless dialogs share: border, title bar with icon, title and close button, room for
/// a body and a row of buttons at the bottom. It builds the widgets into the dialog, which owns them; the object itself
/// only remembers them. GUI thread only.
class DialogFrame
{
public:
    /// Makes @p dialog frameless and lays it out. The close button is connected to the dialog's close().
    explicit DialogFrame(QDialog *dialog);

    MovableGroupBox *titleBar() const { return m_titleBar; }
    QLabel *title() const { return m_title; }
    QToolButton *closeButton() const { return m_close; }
    QVBoxLayout *body() const { return m_body; }
    QHBoxLayout *buttons() const { return m_buttons; }

    /// Adds the button "ok", which accepts the dialog and is its default, and with a @p cancel text the button
    /// "cancel", which rejects it.
    void addAnswers(const QString &ok, const QString &cancel = QString());
    /// @param name "ok" or "cancel"; a name without a button does nothing
    void setButtonVisible(const QString &name, bool visible);
    /// @param name "ok" or "cancel"; a name without a button does nothing
    void setButtonText(const QString &name, const QString &text);
    /// Puts the keyboard on the button that Enter presses: the first visible one.
    void focusAnswer();

    void setTitle(const QString &title);
    /// To be called when the dialog is shown: gives it its final size, puts it over the middle of its parent's window
    /// (or of the screen) wholly onto that screen, and tells DialogAnswers of it.
    void present(const QString &text);

    /// An image file as a pixmap of @p size device-independent pixels that is sharp at @p ratio: drawn anew from a
    /// scalable file, taken from the "@2x" file beside it when there is one. Null when there is no such file.
    static QPixmap sharpPixmap(const QString &file, const QSize &size, qreal ratio);
    /// @p text with a place to break in every long run without blanks, so that a label can wrap long file names.
    static QString breakable(const QString &text);

private:
    QPushButton *answer(const QString &name) const;
    QPushButton *firstAnswer() const;

    QDialog *m_dialog;
    MovableGroupBox *m_titleBar;
    QLabel *m_title;
    QToolButton *m_close;
    QVBoxLayout *m_body;
    QHBoxLayout *m_buttons;
    QPushButton *m_ok = nullptr;
    QPushButton *m_cancel = nullptr;
};
