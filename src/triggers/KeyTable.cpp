#include "triggers/KeyTable.h"

#include "extras/Logging.h"

#include <QFile>
#include <QStringDecoder>

namespace kelp {

namespace {

QString decodeText(QByteArrayView bytes)
{
    if (auto encoding = QStringConverter::encodingForData(bytes)) {
        QStringDecoder decoder(*encoding);
        return decoder.decode(bytes);
    }
    QStringDecoder utf8(QStringConverter::Utf8);
    QString text = utf8.decode(bytes);
    if (!utf8.hasError()) return text;
    return QString::fromLatin1(bytes.data(), bytes.size());
}

} // namespace

KeyTable parseKeyTable(QByteArrayView bytes)
{
    KeyTable table;
    QString text = decodeText(bytes);
    if (text.startsWith(QChar(0xFEFF))) text.remove(0, 1);
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    const QStringList lines = text.split(QLatin1Char('\n'));
    bool haveKeys = false;
    for (qsizetype row = 0; row < lines.size(); ++row) {
        const QString &line = lines.at(row);
        if (line.trimmed().isEmpty()) continue;
        const QStringList cells = line.split(QLatin1Char('\t'));
        if (!haveKeys) {
            table.keys = cells;
            haveKeys = true;
            continue;
        }
        if (cells.size() > table.keys.size()) {
            table.skippedRows.append(
                QStringLiteral("Row %1 had %2 columns but there are only %3 keys")
                    .arg(row)
                    .arg(cells.size())
                    .arg(table.keys.size()));
            continue;
        }
        KeyRecord record;
        for (qsizetype i = 0; i < cells.size(); ++i)
            record.insert(table.keys.at(i), cells.at(i));
        table.records.push_back(std::move(record));
    }
    return table;
}

const KeyTable &builtInKeyTable()
{
    static const KeyTable table = [] {
        QFile file(QStringLiteral(":/triggers/USExtendedKeycodes.txt"));
        if (!file.open(QIODevice::ReadOnly)) {
            qCWarning(lcTriggers) << "The hot key table USExtendedKeycodes is missing";
            return KeyTable{};
        }
        KeyTable parsed = parseKeyTable(file.readAll());
        for (const QString &line : parsed.skippedRows)
            qCWarning(lcTriggers).noquote() << line;
        return parsed;
    }();
    return table;
}

std::optional<KeyRecord> keyRecordForCode(const KeyTable &table, qint64 code)
{
    const QString title = QStringLiteral("title");
    const QString tag = QStringLiteral("tag");
    for (const KeyRecord &record : table.records) {
        if (!record.contains(title) || !record.contains(tag)) continue;
        bool ok = false;
        const qint64 value = record.value(tag).trimmed().toLongLong(&ok);
        if (ok && value == code) return record;
    }
    return std::nullopt;
}

QString hotKeyString(const KeyTable &table, qint64 code, qint64 modifiers)
{
    const auto record = keyRecordForCode(table, code);
    if (!record) return QStringLiteral("missing resource");
    const QString name = record->value(QStringLiteral("title"));
    if (code < 0) return name;
    struct Text
    {
        qint64 bit;
        char16_t symbol;
        const char *word;
    };
    static constexpr Text texts[] = {{ModifierControl, u'\u2303', "control"},
                                     {ModifierOption, u'\u2325', "option"},
                                     {ModifierCommand, u'\u2318', "command"},
                                     {ModifierShift, u'\u21E7', "shift"}};
    QString result;
    for (const Text &t : texts)
        if (modifiers & t.bit)
            result += QStringLiteral("%1 %2 + ").arg(QChar(t.symbol), QLatin1String(t.word));
    return result + name;
}

} // namespace kelp
