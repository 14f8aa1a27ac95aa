#include "DialogFrame.h"

#include "DialogAnswers.h"
#include "MovableGroupBox.h"

#include <QCoreApplication>
#include <QDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWindow>
#include <QtMath>

DialogFrame::DialogFrame(QDialog *dialog)
    : m_dialog(dialog)
{
    dialog->setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);
    // Lets the style sheet draw the border; a plain dialog would show its background only.
    dialog->setAttribute(Qt::WA_StyledBackground);

    m_titleBar = new MovableGroupBox(dialog);
    m_titleBar->setObjectName(QStringLiteral("titleBar"));
    m_titleBar->setFixedHeight(40);

    auto *icon = new QLabel(m_titleBar);
    icon->setObjectName(QStringLiteral("icon"));
    icon->setPixmap(
        sharpPixmap(QStringLiteral(":/ArkvaleTolmaMain/Icon/icon.png"), QSize(20, 20), dialog->devicePixelRatioF()));
    icon->setAttribute(Qt::WA_TransparentForMouseEvents);

    m_title = new QLabel(m_titleBar);
    m_title->setObjectName(QStringLiteral("title"));
    m_title->setTextFormat(Qt::PlainText);
    m_title->setAttribute(Qt::WA_TransparentForMouseEvents);
    QFont bold = m_title->font();
    bold.setWeight(QFont::DemiBold);
    m_title->setFont(bold);

    m_close = new QToolButton(m_titleBar);
    m_close->setObjectName(QStringLiteral("close"));
    m_close->setIcon(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/close.svg")));
    m_close->setIconSize(QSize(14, 14));
    m_close->setAutoRaise(true);
    m_close->setFixedSize(28, 28);
    m_close->setFocusPolicy(Qt::TabFocus);
    const QString close = QCoreApplication::translate("DialogFrame", "Close");
    m_close->setToolTip(close);
    m_close->setAccessibleName(close);
    QObject::connect(m_close, &QToolButton::clicked, dialog, &QDialog::close);

    auto *bar = new QHBoxLayout(m_titleBar);
    bar->setContentsMargins(14, 0, 6, 0);
    bar->setSpacing(9);
    bar->addWidget(icon);
    bar->addWidget(m_title, 1);
    bar->addWidget(m_close);

    m_body = new QVBoxLayout;
    m_body->setContentsMargins(24, 20, 24, 18);
    m_body->setSpacing(12);
    m_buttons = new QHBoxLayout;
    m_buttons->setContentsMargins(24, 0, 24, 20);
    m_buttons->setSpacing(10);
    m_buttons->addStretch(1);

    auto *all = new QVBoxLayout(dialog);
    all->setContentsMargins(1, 1, 1, 1);
    all->setSpacing(0);
    all->addWidget(m_titleBar);
    all->addLayout(m_body, 1);
    all->addLayout(m_buttons);
}

void DialogFrame::addAnswers(const QString &ok, const QString &cancel)
{
    m_ok = new QPushButton(ok, m_dialog);
    m_ok->setObjectName(QStringLiteral("ok"));
    m_ok->setDefault(true);
    m_buttons->addWidget(m_ok);
    QObject::connect(m_ok, &QPushButton::clicked, m_dialog, &QDialog::accept);
    if (cancel.isEmpty())
        return;
    m_cancel = new QPushButton(cancel, m_dialog);
    m_cancel->setObjectName(QStringLiteral("cancel"));
    m_buttons->addWidget(m_cancel);
    QObject::connect(m_cancel, &QPushButton::clicked, m_dialog, &QDialog::reject);
}

QPushButton *DialogFrame::answer(const QString &name) const
{
    if (name == QLatin1String("ok"))
        return m_ok;
    if (name == QLatin1String("cancel"))
        return m_cancel;
    return nullptr;
}

QPushButton *DialogFrame::firstAnswer() const
{
    return m_cancel && m_ok->isHidden() ? m_cancel : m_ok;
}

void DialogFrame::setButtonVisible(const QString &name, bool visible)
{
    QPushButton *named = answer(name);
    if (!named)
        return;
    named->setVisible(visible);
    // Enter presses the default button, and never a hidden one.
    firstAnswer()->setDefault(true);
}

void DialogFrame::setButtonText(const QString &name, const QString &text)
{
    if (QPushButton *named = answer(name))
        named->setText(text);
}

void DialogFrame::focusAnswer()
{
    firstAnswer()->setFocus();
}

void DialogFrame::setTitle(const QString &title)
{
    m_title->setText(title);
    m_dialog->setWindowTitle(title);
}

void DialogFrame::present(const QString &text)
{
    DialogAnswers::dialogShown(m_dialog, m_title->text(), text);
    // The texts were set just now; the layout has not heard of their sizes yet.
    m_dialog->layout()->activate();
    m_dialog->adjustSize();
    QWidget *parent = m_dialog->parentWidget();
    if (parent)
        parent = parent->window();
    QScreen *screen = parent && parent->screen() ? parent->screen() : QGuiApplication::primaryScreen();
    if (!screen)
        return;
    const QRect room = screen->availableGeometry();
    QRect place = m_dialog->rect();
    // While the window manager has not put the parent on the screen yet, its place says nothing.
    const bool placed = parent && parent->isVisible() && parent->windowHandle() && parent->windowHandle()->isExposed();
    place.moveCenter(placed ? parent->frameGeometry().center() : room.center());
    place.moveLeft(qMax(room.left(), qMin(place.left(), room.right() - place.width() + 1)));
    place.moveTop(qMax(room.top(), qMin(place.top(), room.bottom() - place.height() + 1)));
    m_dialog->move(place.topLeft());
}

QPixmap DialogFrame::sharpPixmap(const QString &file, const QSize &size, qreal ratio)
{
    QString source = file;
    if (ratio > 1.0) {
        const QFileInfo info(file);
        const QString twice =
            info.path() + QLatin1Char('/') + info.completeBaseName() + QLatin1String("@2x.") + info.suffix();
        if (QFileInfo::exists(twice))
            source = twice;
    }
    if (!QFileInfo::exists(source))
        return QPixmap();
    QImageReader reader(source);
    const QSize pixels(qCeil(size.width() * ratio), qCeil(size.height() * ratio));
    // A scalable format draws at the size asked for; for the others smooth scaling afterwards looks better.
    if (reader.supportsOption(QImageIOHandler::ScaledSize) && source.endsWith(QLatin1String(".svg")))
        reader.setScaledSize(reader.size().scaled(pixels, Qt::KeepAspectRatio));
    QImage image = reader.read();
    if (image.isNull())
        return QPixmap();
    if (image.width() > pixels.width() || image.height() > pixels.height())
        image = image.scaled(pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QPixmap pixmap = QPixmap::fromImage(image);
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

QString DialogFrame::breakable(const QString &text)
{
    constexpr int kLongRun = 24;
    QString out;
    out.reserve(text.size());
    int run = 0;
    for (const QChar c : text) {
        // Never between the two halves of one character.
        if (run >= kLongRun && !c.isLowSurrogate() && !c.isMark() && !c.isSpace())
            out += QChar(0x200B);
        run = c.isSpace() ? 0 : run + 1;
        out += c;
    }
    return out;
}
