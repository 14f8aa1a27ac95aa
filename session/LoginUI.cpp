#include "LoginUI.h"

#include "DataBaseManager.h"
#include "GlobalConfig.h"
#include "MovableGroupBox.h"
#include "MsgBox.h"
#include "MsgDlg.h"
#include "SystemBrowser.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QCompleter>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QSignalBlocker>
#include <QStyledItemDelegate>
#include <QTimer>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

namespace {

const QString kDriver = QStringLiteral("QSQLITE");
const QString kSavePassword = QStringLiteral("SavePassword");
const QString kPassword = QStringLiteral("Password");
const QString kAutoLogin = QStringLiteral("AutoLogin");
const QString kTrue = QStringLiteral("true");
const QString kFalse = QStringLiteral("false");

constexpr int kWidth = 400;
constexpr int kLongestInput = 256;
// Longer than any single request can stay without an answer.
constexpr int kPatienceMs = 60000;

QIcon icon(const char *name)
{
    return QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/%1.svg").arg(QLatin1String(name)));
}

} // namespace

LoginUI::LoginUI(QWidget *parent)
    : QDialog(parent)
    , m_config(GlobalConfig::instance())
    , m_frame(this)
    , m_patience(new QTimer(this))
{
    setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint | Qt::WindowSystemMenuHint | Qt::WindowMinMaxButtonsHint);
    setModal(true);
    m_patience->setSingleShot(true);
    m_patience->setInterval(kPatienceMs);
    buildWidgets();
    wire();
}

LoginUI::~LoginUI() = default;

void LoginUI::buildWidgets()
{
    m_frame.setTitle(tr("Login"));
    auto *minimise = new QToolButton(m_frame.titleBar());
    minimise->setObjectName(QStringLiteral("minimise"));
    minimise->setIcon(icon("minimize"));
    minimise->setIconSize(m_frame.closeButton()->iconSize());
    minimise->setFixedSize(m_frame.closeButton()->size());
    minimise->setAutoRaise(true);
    minimise->setFocusPolicy(Qt::TabFocus);
    minimise->setToolTip(tr("Minimise"));
    minimise->setAccessibleName(tr("Minimise"));
    auto *bar = qobject_cast<QHBoxLayout *>(m_frame.titleBar()->layout());
    bar->insertWidget(bar->count() - 1, minimise);
    connect(minimise, SIGNAL(clicked()), this, SLOT(showMinimized()));

    auto *logo = new QLabel(this);
    logo->setObjectName(QStringLiteral("logo"));
    logo->setAlignment(Qt::AlignCenter);
    logo->setPixmap(DialogFrame::sharpPixmap(QStringLiteral(":/ArkvaleTolmaMain/Icon/logo.svg"), QSize(64, 64),
                                             devicePixelRatioF()));
    auto *headline = new QLabel(tr("NRX Cloud Drive"), this);
    headline->setObjectName(QStringLiteral("headline"));
    headline->setAlignment(Qt::AlignCenter);

    QVBoxLayout *body = m_frame.body();
    body->setContentsMargins(44, 26, 44, 24);
    body->setSpacing(0);
    body->addWidget(logo);
    body->addSpacing(10);
    body->addWidget(headline);
    body->addSpacing(26);
    body->addWidget(buildFields());
    m_frame.buttons()->setContentsMargins(0, 0, 0, 0);
    setFixedWidth(kWidth);
}

QWidget *LoginUI::buildFields()
{
    auto *fields = new QWidget(this);

    m_user = new QComboBox(fields);
    m_user->setObjectName(QStringLiteral("userName"));
    m_user->setEditable(true);
    m_user->setInsertPolicy(QComboBox::NoInsert);
    // The default delegate of a combo box takes no notice of the style sheet.
    m_user->setItemDelegate(new QStyledItemDelegate(m_user));
    m_user->completer()->setCompletionMode(QCompleter::PopupCompletion);
    m_user->lineEdit()->setPlaceholderText(tr("User name"));
    m_user->lineEdit()->setMaxLength(kLongestInput);
    m_user->setAccessibleName(tr("User name"));

    m_passwordField = new QLineEdit(fields);
    m_passwordField->setObjectName(QStringLiteral("password"));
    m_passwordField->setEchoMode(QLineEdit::Password);
    m_passwordField->setMaxLength(kLongestInput);
    m_passwordField->setPlaceholderText(tr("Password"));
    m_passwordField->setAccessibleName(tr("Password"));
    m_passwordField->installEventFilter(this);
    QAction *reveal = m_passwordField->addAction(icon("eye"), QLineEdit::TrailingPosition);
    reveal->setCheckable(true);
    reveal->setToolTip(tr("Show password"));
    connect(reveal, &QAction::toggled, m_passwordField,
            [this](bool shown) { m_passwordField->setEchoMode(shown ? QLineEdit::Normal : QLineEdit::Password); });

    m_remember = new QCheckBox(tr("Remember Me"), fields);
    m_remember->setObjectName(QStringLiteral("rememberMe"));
    m_auto = new QCheckBox(tr("Auto Login"), fields);
    m_auto->setObjectName(QStringLiteral("autoLogin"));

    m_hint = new QLabel(fields);
    m_hint->setObjectName(QStringLiteral("hint"));
    m_hint->setTextFormat(Qt::PlainText);
    m_hint->setAlignment(Qt::AlignCenter);
    // Its room is kept free, so that the dialog does not jump when there is something to say.
    m_hint->setFixedHeight(24);

    m_login = new QPushButton(tr("Login"), fields);
    m_login->setObjectName(QStringLiteral("login"));
    m_login->setProperty("primary", true);
    m_login->setDefault(true);
    m_login->setMinimumHeight(40);

    m_forgot = new QPushButton(tr("Forgot password"), fields);
    m_forgot->setObjectName(QStringLiteral("forgotPassword"));
    m_register = new QPushButton(tr("Register now"), fields);
    m_register->setObjectName(QStringLiteral("register"));
    for (QPushButton *link : {m_forgot, m_register}) {
        link->setProperty("link", true);
        link->setAutoDefault(false);
        link->setCursor(Qt::PointingHandCursor);
    }

    auto *checks = new QHBoxLayout;
    checks->addWidget(m_remember);
    checks->addStretch(1);
    checks->addWidget(m_auto);
    auto *links = new QHBoxLayout;
    links->addWidget(m_forgot);
    links->addStretch(1);
    links->addWidget(m_register);

    auto *all = new QVBoxLayout(fields);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addWidget(m_user);
    all->addSpacing(12);
    all->addWidget(m_passwordField);
    all->addSpacing(14);
    all->addLayout(checks);
    all->addSpacing(6);
    all->addWidget(m_hint);
    all->addSpacing(6);
    all->addWidget(m_login);
    all->addSpacing(12);
    all->addLayout(links);
    m_user->setMinimumHeight(36);
    m_passwordField->setMinimumHeight(36);
    return fields;
}

void LoginUI::wire()
{
    connect(m_login, SIGNAL(clicked()), this, SLOT(login()));
    connect(m_remember, SIGNAL(stateChanged(int)), this, SLOT(SwitchRemeberPwd()));
    connect(m_auto, SIGNAL(stateChanged(int)), this, SLOT(SwitchAutoLogin()));
    connect(m_forgot, SIGNAL(clicked()), this, SLOT(ResetPassWord()));
    connect(m_register, SIGNAL(clicked()), this, SLOT(Register()));
    connect(m_user, SIGNAL(editTextChanged(const QString &)), this, SLOT(UpdateUserCfg()));
    connect(this, SIGNAL(sigAutoLogin()), m_login, SLOT(click()), Qt::QueuedConnection);
    connect(&m_service, SIGNAL(loginStatusChanged()), this, SLOT(Result()));
    connect(&m_service, SIGNAL(handlerGetCurrentUserInfoFinished()), this, SLOT(SaveUserCfg()), Qt::QueuedConnection);
    connect(m_patience, &QTimer::timeout, this, [this] {
        setLoggingIn(false);
        tell(tr("The service does not answer. You can try again."));
    });
}

void LoginUI::setUsers(const QStringList &users, const QString &password)
{
    m_users = users;
    m_password = password;
    m_rememberPassword = false;
    m_autoLogin = !password.isEmpty();
    RefreshUserList();
    m_passwordField->setText(password);
    // The boxes do not drag each other along here: a password from the command line is not to be remembered.
    const QSignalBlocker quietRemember(m_remember);
    const QSignalBlocker quietAuto(m_auto);
    m_remember->setChecked(false);
    m_auto->setChecked(m_autoLogin);
}

void LoginUI::setUsers(const QStringList &users)
{
    m_users = users;
    RefreshUserList();
    UpdateUserCfg();
    if (!m_users.isEmpty() && m_password.isEmpty())
        m_passwordField->setFocus();
}

void LoginUI::RefreshUserList()
{
    // Filling the list is not typing: nothing is looked up for the names that pass by.
    const QSignalBlocker quiet(m_user);
    m_user->clear();
    m_user->addItems(m_users);
    m_user->setCurrentIndex(m_users.isEmpty() ? -1 : 0);
}

void LoginUI::UpdateUserCfg()
{
    LoadUserCfg();
    RefreshUserCfg();
}

void LoginUI::LoadUserCfg()
{
    const QString user = m_user->currentText();
    m_rememberPassword = false;
    m_autoLogin = false;
    m_password.clear();
    if (user.isEmpty() || !m_config->knownUserNames().contains(user) || !m_config->userDatabaseExists(user))
        return;
    const DataBaseManager database(m_config->userDatabase(user), kDriver);
    m_rememberPassword = database.value(kSavePassword) == kTrue;
    m_autoLogin = database.value(kAutoLogin) == kTrue;
    m_password = database.value(kPassword);
}

void LoginUI::RefreshUserCfg()
{
    const QSignalBlocker quietRemember(m_remember);
    const QSignalBlocker quietAuto(m_auto);
    m_remember->setChecked(m_rememberPassword);
    m_auto->setChecked(m_autoLogin);
    m_passwordField->setText(m_rememberPassword ? m_password : QString());
}

void LoginUI::SwitchRemeberPwd()
{
    m_rememberPassword = m_remember->isChecked();
    if (!m_rememberPassword)
        m_auto->setChecked(false);
}

void LoginUI::SwitchAutoLogin()
{
    m_autoLogin = m_auto->isChecked();
    if (m_autoLogin)
        m_remember->setChecked(true);
}

int LoginUI::exec()
{
    startAutoLogin();
    return QDialog::exec();
}

void LoginUI::showEvent(QShowEvent *event)
{
    m_quiet = false;
    QDialog::showEvent(event);
    if (event->spontaneous())
        return;
    if (m_user->currentText().isEmpty())
        m_user->setFocus();
    else if (m_passwordField->text().isEmpty())
        m_passwordField->setFocus();
    else
        m_login->setFocus();
    if (!parentWidget() && screen())
        move(screen()->availableGeometry().center() - rect().center());
    startAutoLogin();
}

void LoginUI::startAutoLogin()
{
    if (m_autoLoginTried)
        return;
    m_autoLoginTried = true;
    if (m_auto->isChecked() && m_config->state() == GlobalConfig::NotLoggedIn)
        emit sigAutoLogin();
}

void LoginUI::login()
{
    const QString user = m_user->currentText();
    const QString password = m_passwordField->text();
    if (user.isEmpty() || password.isEmpty()) {
        MsgDlg dialog(this);
        dialog.setTitle(tr("Tip"));
        dialog.setText(tr("Please enter your username and password!"));
        dialog.setButtonVisible(QStringLiteral("ok"), false);
        dialog.exec();
        (user.isEmpty() ? m_user->lineEdit() : m_passwordField)->setFocus();
        return;
    }
    tell(QString());
    m_service.login(user, password);
}

void LoginUI::setLoggingIn(bool loggingIn)
{
    m_login->setEnabled(!loggingIn);
    m_login->setText(loggingIn ? tr("Logging in") : tr("Login"));
    if (loggingIn)
        m_patience->start();
    else
        m_patience->stop();
}

void LoginUI::Result()
{
    switch (m_config->state()) {
    case GlobalConfig::LoggedIn:
        // Behind the slot that writes the user's settings, which may yet turn the login down.
        QMetaObject::invokeMethod(this, &LoginUI::acceptLogin, Qt::QueuedConnection);
        return;
    case GlobalConfig::LoggingIn:
        setLoggingIn(true);
        return;
    case GlobalConfig::ProfileFailed:
        break;
    case GlobalConfig::Frozen: {
        if (m_quiet)
            break;
        MsgBox box(this);
        box.setTitle(tr("Tip"));
        box.setText(frozenNotice());
        box.setButtonVisible(QStringLiteral("ok"), false);
        box.exec();
        break;
    }
    default: {
        if (m_quiet)
            break;
        MsgDlg dialog(this);
        dialog.setTitle(tr("Tip"));
        dialog.setText(tr("Login failed."));
        dialog.setButtonVisible(QStringLiteral("ok"), false);
        dialog.exec();
        break;
    }
    }
    setLoggingIn(false);
}

void LoginUI::acceptLogin()
{
    if (m_config->state() != GlobalConfig::LoggedIn)
        return;
    m_patience->stop();
    accept();
}

QString LoginUI::frozenNotice() const
{
    const Violation violation = m_config->violation();
    QString page = QString::fromLatin1(QUrl(m_config->userProtocolUrl()).toEncoded());
    page = page.toHtmlEscaped().replace(QLatin1Char('\''), QLatin1String("%27"));
    const QString link =
        QStringLiteral("<a href='%1'>%2</a>").arg(page, tr("NRX Cloud Driver User Agreement").toHtmlEscaped());
    if (violation.duration == -1) {
        return tr("Dear users! You are irregularities in the use of NRX Cloud Driver, your account has been "
                  "permanently frozen! Please read the %1.")
            .arg(link);
    }
    // A restriction that came without details has no end to tell.
    const QString until =
        violation.effectTime.isValid()
            ? violation.effectTime.addSecs(violation.duration).toString(QStringLiteral("yyyy-MM-dd hh:mm"))
            : tr("further notice");
    return tr("Dear users! You are irregularities in the use of NRX Cloud Driver, your account has been "
              "frozen to %1! Please read the %2.")
        .arg(until, link);
}

void LoginUI::SaveUserCfg()
{
    const UserInfo user = m_config->currentUser();
    m_config->rememberUser(user);
    const QString path = m_config->userDatabase(user.username);
    if (!m_config->userDatabaseExists(user.username)) {
        m_config->setState(GlobalConfig::LoggedOut);
        Result();
        return;
    }
    // What is typed here belongs to the user who typed it, not to one whom a web page logged in meanwhile.
    if (!m_service.loggedInByPassword())
        return;
    DataBaseManager database(path, kDriver);
    const bool remember = m_remember->isChecked();
    database.setValues({{kSavePassword, remember ? kTrue : kFalse},
                        {kPassword, remember ? m_passwordField->text() : QString()},
                        {kAutoLogin, remember && m_auto->isChecked() ? kTrue : kFalse}});
}

void LoginUI::openPage(const QString &address)
{
    if (!openWebPage(QUrl(address)))
        tell(tr("The page could not be opened."));
}

void LoginUI::ResetPassWord()
{
    openPage(m_config->resetPasswordUrl());
}

void LoginUI::Register()
{
    openPage(m_config->registerUrl());
}

void LoginUI::UpdateFinished(int retcode)
{
    constexpr int kNewerAvailable = 1;
    if (retcode == kNewerAvailable)
        tell(tr("A new version is available."));
}

void LoginUI::tell(const QString &text)
{
    m_hint->setText(text);
    m_hint->setAccessibleName(text);
}

bool LoginUI::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_passwordField && event->type() == QEvent::KeyPress) {
        // The keyboard's lock cannot be asked for portably, but a letter in the wrong case gives it away.
        const auto *key = static_cast<QKeyEvent *>(event);
        const QString typed = key->text();
        if (typed.size() == 1 && typed.at(0).isLetter() && typed.at(0).toLower() != typed.at(0).toUpper()) {
            const bool shift = key->modifiers() & Qt::ShiftModifier;
            tell(typed.at(0).isUpper() != shift ? tr("Caps Lock is on") : QString());
        }
    }
    return QDialog::eventFilter(watched, event);
}
