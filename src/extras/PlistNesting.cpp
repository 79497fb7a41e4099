#include "extras/PlistNesting.h"

#include <cstring>
#include <vector>

namespace kelp::plist {
namespace {

bool startsWith(const char *at, const char *end, const char *prefix)
{
    const size_t n = std::strlen(prefix);
    return static_cast<size_t>(end - at) >= n && std::memcmp(at, prefix, n) == 0;
}

// The first byte after the first occurrence of needle in [at, end), or end.
const char *after(const char *at, const char *end, const char *needle)
{
    const size_t n = std::strlen(needle);
    for (const char *p = at; static_cast<size_t>(end - p) >= n; ++p) {
        if (std::memcmp(p, needle, n) == 0) return p + n;
    }
    return end;
}

// Whether the character reference at p ("&#0;", "&#x00;") stands for NUL.
bool nulReference(const char *p, const char *end)
{
    if (!startsWith(p, end, "&#")) return false;
    p += 2;
    const bool hex = p < end && (*p == 'x' || *p == 'X');
    if (hex) ++p;
    const char *digits = p;
    while (p < end && *p == '0')
        ++p;
    return p > digits && p < end && *p == ';';
}

bool isTextElement(const char *name, size_t length)
{
    static const char *const kText[] = {"key", "string", "data", "date", "integer", "real"};
    for (const char *text : kText) {
        if (std::strlen(text) == length && std::memcmp(name, text, length) == 0) return true;
    }
    return false;
}

// Element nesting of an XML document. Every element counts (the plist element and a value's
// text element add two levels to the containers'); comments, processing instructions,
// declarations and CDATA sections are skipped. Inside a text element only its own end tag,
// comments and CDATA may follow: anything else is not a property list, so markup hidden in a
// string can never make the count lower than what a parser sees.
bool xmlWithin(const char *p, const char *end, int maxElements, QString *error)
{
    int depth = 0;
    bool inText = false;
    bool inKey = false;
    while (p < end) {
        if (*p != '<') {
            // libplist stops on a dictionary key holding a NUL character (written as is or as a
            // character reference) with a failed assertion.
            if (inKey && (*p == '\0' || (*p == '&' && nulReference(p, end)))) {
                if (error) *error = QStringLiteral("a dictionary key with a NUL character");
                return false;
            }
            ++p;
            continue;
        }
        if (startsWith(p, end, "<!--")) {
            p = after(p + 4, end, "-->");
            continue;
        }
        if (startsWith(p, end, "<![CDATA[")) {
            p = after(p + 9, end, "]]>");
            continue;
        }
        if (startsWith(p, end, "<?")) {
            p = after(p + 2, end, "?>");
            continue;
        }
        if (startsWith(p, end, "<!")) {
            p = after(p + 2, end, ">");
            continue;
        }
        const char *close = after(p + 1, end, ">");
        if (startsWith(p, end, "</")) {
            if (depth > 0) --depth;
            inText = false;
            inKey = false;
            p = close;
            continue;
        }
        if (inText) {
            if (error) *error = QStringLiteral("markup inside a text value");
            return false;
        }
        const bool selfClosing = close - p >= 3 && close[-2] == '/';
        const char *name = p + 1;
        size_t length = 0;
        while (name + length < end && name[length] != '>' && name[length] != '/' &&
               name[length] != ' ' && name[length] != '\t' && name[length] != '\n' &&
               name[length] != '\r')
            ++length;
        p = close;
        if (selfClosing) continue;
        if (++depth > maxElements) {
            if (error) *error = QStringLiteral("nested more than %1 levels deep").arg(maxElements);
            return false;
        }
        inText = isTextElement(name, length);
        inKey = length == 3 && std::memcmp(name, "key", 3) == 0;
    }
    return true;
}

quint64 bigEndian(const unsigned char *at, unsigned size)
{
    quint64 v = 0;
    for (unsigned i = 0; i < size; ++i)
        v = (v << 8) | at[i];
    return v;
}

// Container nesting of a binary document ("bplist00"), following object references from the
// root with an explicit stack; each object's height is worked out once, so shared objects cost
// nothing more and the whole scan is linear in the references.
bool binaryWithin(const QByteArray &bytes, int maxNesting, QString *error)
{
    auto fail = [error](const QString &why) {
        if (error) *error = why;
        return false;
    };
    const auto *data = reinterpret_cast<const unsigned char *>(bytes.constData());
    const quint64 size = static_cast<quint64>(bytes.size());
    if (size < 8 + 32) return fail(QStringLiteral("a binary property list too short"));
    const unsigned char *trailer = data + size - 32;
    const unsigned offsetSize = trailer[6];
    const unsigned refSize = trailer[7];
    const quint64 objects = bigEndian(trailer + 8, 8);
    const quint64 root = bigEndian(trailer + 16, 8);
    const quint64 tableAt = bigEndian(trailer + 24, 8);
    const quint64 bodyEnd = size - 32;
    if (offsetSize < 1 || offsetSize > 8 || refSize < 1 || refSize > 8 || objects == 0 ||
        root >= objects || tableAt >= bodyEnd || objects > (bodyEnd - tableAt) / offsetSize)
        return fail(QStringLiteral("a binary property list with a broken trailer"));

    // The start and the number of references of a container, or no references for a scalar.
    struct Refs
    {
        quint64 at = 0;
        quint64 count = 0;
        bool ok = true;
        bool container = false;
        quint64 keys = 0; // a dictionary's first references are its keys
    };
    auto refsOf = [&](quint64 object) -> Refs {
        const quint64 offset = bigEndian(data + tableAt + object * offsetSize, offsetSize);
        if (offset >= tableAt) return {0, 0, false, false};
        const unsigned marker = data[offset];
        const unsigned kind = marker >> 4;
        // Arrays, sets and dictionaries hold references; everything else is a leaf.
        if (kind != 0xA && kind != 0xB && kind != 0xC && kind != 0xD) return {};
        quint64 count = marker & 0xF;
        quint64 at = offset + 1;
        if (count == 0xF) {
            if (at >= tableAt || (data[at] >> 4) != 0x1) return {0, 0, false, false};
            const unsigned intSize = 1u << (data[at] & 0xF);
            if (intSize > 8 || at + 1 + intSize > tableAt) return {0, 0, false, false};
            count = bigEndian(data + at + 1, intSize);
            at += 1 + intSize;
        }
        quint64 keys = 0;
        if (kind == 0xD) {
            if (count > (tableAt - at) / 2) return {0, 0, false, false};
            keys = count;
            count *= 2;
        }
        if (count > (tableAt - at) / refSize) return {0, 0, false, false};
        return {at, count, true, true, keys};
    };
    // Whether a string object used as a key holds a NUL character: libplist stops on such a key
    // with a failed assertion.
    auto keyHoldsNul = [&](quint64 object) {
        const quint64 offset = bigEndian(data + tableAt + object * offsetSize, offsetSize);
        if (offset >= tableAt) return false; // refused when it is followed
        const unsigned marker = data[offset];
        const unsigned kind = marker >> 4;
        if (kind != 0x5 && kind != 0x6) return false;
        quint64 length = marker & 0xF;
        quint64 at = offset + 1;
        if (length == 0xF) {
            if (at >= tableAt || (data[at] >> 4) != 0x1) return false;
            const unsigned intSize = 1u << (data[at] & 0xF);
            if (intSize > 8 || at + 1 + intSize > tableAt) return false;
            length = bigEndian(data + at + 1, intSize);
            at += 1 + intSize;
        }
        const quint64 unit = kind == 0x6 ? 2 : 1;
        if (length > (tableAt - at) / unit) return false;
        for (quint64 i = 0; i < length; ++i) {
            if (unit == 1 ? data[at + i] == 0
                          : (data[at + 2 * i] == 0 && data[at + 2 * i + 1] == 0))
                return true;
        }
        return false;
    };

    constexpr int kUnseen = -1;
    constexpr int kOnStack = -2;
    std::vector<int> height(static_cast<size_t>(objects), kUnseen);
    struct Frame
    {
        quint64 object;
        Refs refs;
        quint64 next;
        int tallest; // the tallest child so far
    };
    std::vector<Frame> stack;
    auto push = [&](quint64 object) -> bool {
        const Refs refs = refsOf(object);
        if (!refs.ok) return false;
        height[object] = kOnStack;
        stack.push_back({object, refs, 0, 0});
        return true;
    };
    if (!push(root)) return fail(QStringLiteral("a binary property list with a broken object"));
    while (!stack.empty()) {
        Frame &top = stack.back();
        if (top.next == top.refs.count) {
            const int h = top.refs.container ? top.tallest + 1 : 0;
            height[top.object] = h;
            stack.pop_back();
            if (h > maxNesting)
                return fail(QStringLiteral("nested more than %1 levels deep").arg(maxNesting));
            if (!stack.empty() && h > stack.back().tallest) stack.back().tallest = h;
            continue;
        }
        const quint64 child = bigEndian(data + top.refs.at + top.next * refSize, refSize);
        const bool isKey = top.next < top.refs.keys;
        ++top.next;
        if (child >= objects)
            return fail(QStringLiteral("a binary property list with a reference out of range"));
        if (isKey && keyHoldsNul(child))
            return fail(QStringLiteral("a dictionary key with a NUL character"));
        const int known = height[child];
        if (known == kOnStack)
            return fail(QStringLiteral("a binary property list whose container holds itself"));
        if (known != kUnseen) {
            if (known > top.tallest) top.tallest = known;
            continue;
        }
        if (!push(child))
            return fail(QStringLiteral("a binary property list with a broken object"));
    }
    return true;
}

} // namespace

bool nestingWithin(const QByteArray &bytes, int maxNesting, QString *error)
{
    if (bytes.startsWith("bplist00")) return binaryWithin(bytes, maxNesting, error);
    // Two more levels for the plist element and a value's text element.
    return xmlWithin(bytes.constData(), bytes.constData() + bytes.size(), maxNesting + 2, error);
}

} // namespace kelp::plist
