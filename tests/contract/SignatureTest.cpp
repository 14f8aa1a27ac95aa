#include "SignatureTable.h"
#include "TestSupport.h"

class SignatureTest : public StrictTest
{
    Q_OBJECT

private slots:
    void signatures_data();
    void signatures();
    void answersAreAllListed();
};

void SignatureTest::signatures_data()
{
    QTest::addColumn<int>("row");
    for (size_t i = 0; i < SignatureTable::all().size(); ++i) {
        const SignatureRow &row = SignatureTable::all()[i];
        QTest::newRow(qPrintable(QStringLiteral("%1 %2").arg(
            QLatin1String(row.meta->className()),
            row.type == QMetaMethod::Signal ? QStringLiteral("signals") : QStringLiteral("slots"))))
            << int(i);
    }
}

void SignatureTest::signatures()
{
    QFETCH(int, row);
    const SignatureRow &contract = SignatureTable::all()[size_t(row)];
    // Blanks separate, except the one inside a pointer to constant text.
    const QByteArray text = QByteArray(contract.signatures).replace("const wchar_t*", "const_wchar_t*");
    QStringList missing;
    int last = -1;
    for (QByteArray signature : text.simplified().split(' ')) {
        signature.replace("const_wchar_t*", "const wchar_t*");
        const QByteArray normalized = QMetaObject::normalizedSignature(signature.constData());
        const int index = contract.meta->indexOfMethod(normalized.constData());
        if (index < 0 || contract.meta->method(index).methodType() != contract.type)
            missing << QString::fromLatin1(signature);
        else if (contract.ordered && index < last)
            missing << QString::fromLatin1(signature) + QStringLiteral(" stands too early");
        last = qMax(last, index);
    }
    QVERIFY2(missing.isEmpty(), qPrintable(missing.join(QLatin1Char(' '))));
}

// A signal that a class adds to its answers without telling here would be wired by nobody's table.
void SignatureTest::answersAreAllListed()
{
    const SignatureRow &orv = SignatureTable::all().front();
    const int listed = QByteArray(orv.signatures).simplified().split(' ').size();
    int declared = 0;
    for (int i = orv.meta->methodOffset(); i < orv.meta->methodCount(); ++i)
        declared += orv.meta->method(i).methodType() == QMetaMethod::Signal;
    QCOMPARE(listed, declared);
}

ARKVALE_GUILESS_TEST(SignatureTest)
#include "SignatureTest.moc"
