#pragma once
// The hot key's table of key names ("USExtendedKeycodes", a resource): tab-separated columns,
// one row a line, the first row naming the columns. Kelp reads two of them, "title" (the name the
// preferences show) and "tag" (the key's virtual key code, -1 for the row meaning "no hot key").
//
// parseKeyTable is a pure function of the file's bytes: any input gives a table, never a crash.
#include <QByteArrayView>
#include <QHash>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace kelp {

using KeyRecord = QHash<QString, QString>;

struct KeyTable
{
    QStringList keys;               // the column names, from the first row
    std::vector<KeyRecord> records; // one per later row, in file order (empty cells are "")
    QStringList skippedRows;        // one log line per row left out
};

// Reads the table, detecting the text encoding (a UTF-8 or UTF-16 byte-order mark, else UTF-8
// when the bytes are valid UTF-8, else Latin-1). A row with more cells than there are column
// names is left out; blank lines are ignored.
KeyTable parseKeyTable(QByteArrayView bytes);

// The table shipped with Kelp (empty, with one log line, when the resource is missing).
const KeyTable &builtInKeyTable();

// The first record with both a "title" and a "tag" whose tag equals `code`.
std::optional<KeyRecord> keyRecordForCode(const KeyTable &table, qint64 code);

// Modifier bits as the hot key settings store them.
enum HotKeyModifier : qint64 {
    ModifierCommand = 256,
    ModifierShift = 512,
    ModifierOption = 2048,
    ModifierControl = 4096,
};

// The hot key as a person reads it: the modifiers in the order control, option, command, shift,
// then the key's name ("⌃ control + Tab"). The name alone for a negative code (no hot key);
// "missing resource" when the table has no row for the code.
QString hotKeyString(const KeyTable &table, qint64 code, qint64 modifiers);

} // namespace kelp
