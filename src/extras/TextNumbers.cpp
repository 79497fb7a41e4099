#include "extras/TextNumbers.h"

#include <QRegularExpression>

namespace kelp {

double leadingNumber(const QString &text)
{
    static const QRegularExpression number(
        QStringLiteral(R"(^\s*[+-]?(\d+(\.\d*)?|\.\d+)([eE][+-]?\d+)?)"));
    const QRegularExpressionMatch m = number.match(text);
    if (!m.hasMatch()) return 0.0;
    bool ok = false;
    const double d = m.captured(0).trimmed().toDouble(&ok);
    return ok ? d : 0.0;
}

bool textIsTrue(const QString &text)
{
    qsizetype i = 0;
    while (i < text.size() && text.at(i).isSpace())
        ++i;
    if (i < text.size() && (text.at(i) == u'+' || text.at(i) == u'-')) ++i;
    while (i < text.size() && text.at(i) == u'0')
        ++i;
    if (i >= text.size()) return false;
    const QChar c = text.at(i);
    return c == u'Y' || c == u'y' || c == u'T' || c == u't' || (c >= u'1' && c <= u'9');
}

} // namespace kelp
