#include "JsonScanner.h"

#include <limits>

namespace {

constexpr int DeepestNesting = 1024;

bool isBlank(char c)
{
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool endsScalar(char c)
{
    return isBlank(c) || c == ',' || c == '}' || c == ']' || c == ':' || c == '"' || c == '[' || c == '{';
}

/// Length of the number at the beginning, 0 when there is none.
int numberLength(const char *text, int size)
{
    int at = size > 0 && text[0] == '-' ? 1 : 0;
    const auto digits = [&] {
        const int from = at;
        while (at < size && isDigit(text[at]))
            ++at;
        return at > from;
    };
    if (at < size && text[at] == '0')
        ++at;
    else if (!digits())
        return 0;
    if (at < size && text[at] == '.') {
        ++at;
        if (!digits())
            return 0;
    }
    if (at < size && (text[at] == 'e' || text[at] == 'E')) {
        ++at;
        if (at < size && (text[at] == '+' || text[at] == '-'))
            ++at;
        if (!digits())
            return 0;
    }
    return at;
}

bool isScalar(const char *text, int size)
{
    for (const char *word : {"true", "false", "null"}) {
        if (size == int(std::strlen(word)) && std::memcmp(text, word, size_t(size)) == 0)
            return true;
    }
    return size > 0 && numberLength(text, size) == size;
}

/// Reads up to 19 digits, which always fit.
bool readDigits(const JsonScanner::Piece &text, quint64 *number)
{
    for (int i = 0; i < text.size; ++i) {
        if (!isDigit(text.begin[i]))
            return false;
        *number = *number * 10 + quint64(text.begin[i] - '0');
    }
    return text.size > 0 && text.size <= 19;
}

ushort hexValue(const char *digits)
{
    return QByteArray::fromRawData(digits, 4).toUShort(nullptr, 16);
}

} // namespace

JsonScanner::JsonScanner(const QByteArray &text)
    : m_at(text.constData())
    , m_end(text.constData() + text.size())
{
}

void JsonScanner::fail()
{
    m_failed = true;
    m_at = m_end;
}

char JsonScanner::peek()
{
    while (m_at < m_end && isBlank(*m_at))
        ++m_at;
    return m_at < m_end ? *m_at : '\0';
}

bool JsonScanner::atEnd()
{
    peek();
    return m_at == m_end;
}

bool JsonScanner::enterObject()
{
    if (peek() != '{')
        return false;
    ++m_at;
    m_first = true;
    return true;
}

bool JsonScanner::enterArray()
{
    if (peek() != '[')
        return false;
    ++m_at;
    m_first = true;
    return true;
}

bool JsonScanner::next(char open, char close)
{
    const bool first = m_first;
    m_first = false;
    char c = peek();
    if (c == close) {
        ++m_at;
        return false;
    }
    if (!first) {
        if (c != ',') {
            fail();
            return false;
        }
        ++m_at;
        c = peek();
    }
    if (c == '\0' || c == ',' || c == close || (open == '{' && c != '"')) {
        fail();
        return false;
    }
    return true;
}

bool JsonScanner::nextKey(Piece *key)
{
    if (!next('{', '}'))
        return false;
    const char *from = m_at;
    skipString();
    const int length = int(m_at - from);
    if (peek() != ':') {
        fail();
        return false;
    }
    ++m_at;
    *key = {from + 1, length - 2};
    if (std::memchr(key->begin, '\\', size_t(key->size))) {
        m_key = decoded({from, length}).toUtf8();
        *key = {m_key.constData(), m_key.size()};
    }
    return true;
}

bool JsonScanner::nextElement()
{
    return next('[', ']');
}

void JsonScanner::skipString()
{
    ++m_at;
    const char *at = m_at;
    while (at < m_end && *at != '"')
        at += *at == '\\' ? 2 : 1;
    if (at >= m_end)
        return fail();
    m_at = at + 1;
}

void JsonScanner::skip()
{
    if (peek() == '"')
        return skipString();
    QByteArray open; // the brackets around the place
    do {
        const char c = peek();
        if (c == '"') {
            skipString();
        } else if (c == '{' || c == '[') {
            if (open.size() == DeepestNesting)
                return fail();
            open.append(c);
            ++m_at;
        } else if (c == '}' || c == ']') {
            if (open.isEmpty() || open.at(open.size() - 1) != (c == '}' ? '{' : '['))
                return fail();
            open.chop(1);
            ++m_at;
        } else if (!open.isEmpty() && (c == ',' || c == ':')) {
            ++m_at;
        } else {
            const char *from = m_at;
            while (m_at < m_end && !endsScalar(*m_at))
                ++m_at;
            if (!isScalar(from, int(m_at - from)))
                return fail();
        }
        if (m_failed)
            return;
    } while (!open.isEmpty());
}

JsonScanner::Piece JsonScanner::raw()
{
    peek();
    const char *from = m_at;
    skip();
    return m_failed ? Piece() : Piece{from, int(m_at - from)};
}

QString JsonScanner::decoded(const Piece &quoted)
{
    if (quoted.size < 2 || *quoted.begin != '"')
        return {};
    const char *at = quoted.begin + 1, *end = quoted.begin + quoted.size - 1;
    QString text;
    while (at < end) {
        const auto *escape = static_cast<const char *>(std::memchr(at, '\\', size_t(end - at)));
        const char *plainEnd = escape ? escape : end;
        if (text.isEmpty() && !escape)
            return QString::fromUtf8(at, int(plainEnd - at));
        text += QString::fromUtf8(at, int(plainEnd - at));
        at = plainEnd;
        if (!escape)
            break;
        const char c = escape[1];
        at += 2;
        switch (c) {
        case 'b':
            text += QLatin1Char('\b');
            break;
        case 'f':
            text += QLatin1Char('\f');
            break;
        case 'n':
            text += QLatin1Char('\n');
            break;
        case 'r':
            text += QLatin1Char('\r');
            break;
        case 't':
            text += QLatin1Char('\t');
            break;
        case 'u':
            // Halves of a pair come one by one; one alone stays what it is, as a name may hold it.
            if (end - at >= 4) {
                text += QChar(hexValue(at));
                at += 4;
            }
            break;
        default:
            text += QLatin1Char(c);
        }
    }
    return text;
}

QString JsonScanner::string()
{
    return decoded(raw());
}

qint32 JsonScanner::int32()
{
    const Piece text = raw();
    quint64 exact = 0;
    if (readDigits(text, &exact) && exact <= quint64(std::numeric_limits<qint32>::max()))
        return qint32(exact);
    const double number = text.bytes().toDouble();
    const bool fits = number >= std::numeric_limits<qint32>::min() && number <= std::numeric_limits<qint32>::max();
    return fits && double(qint32(number)) == number ? qint32(number) : 0;
}

quint64 JsonScanner::unsigned64()
{
    const Piece text = raw();
    if (text.size > 0 && *text.begin == '"')
        return decoded(text).toULongLong();
    quint64 exact = 0;
    if (readDigits(text, &exact))
        return exact;
    const double number = text.bytes().toDouble();
    if (!(number > 0.0))
        return 0;
    return number >= 18446744073709551615.0 ? std::numeric_limits<quint64>::max() : quint64(number);
}
