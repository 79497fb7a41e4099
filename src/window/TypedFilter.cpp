#include "window/TypedFilter.h"

#include <QKeyEvent>

#include <cctype>

namespace kelp {

char32_t TypedFilter::characterOfKey(const QKeyEvent &event)
{
    const int key = event.key();
    if (key >= Qt::Key_A && key <= Qt::Key_Z) return U'a' + static_cast<char32_t>(key - Qt::Key_A);
    if (key >= Qt::Key_0 && key <= Qt::Key_9) return U'0' + static_cast<char32_t>(key - Qt::Key_0);
    switch (key) {
    case Qt::Key_Return:
        return 13;
    case Qt::Key_Enter:
        return 3;
    case Qt::Key_Backspace:
        return 127;
    case Qt::Key_Escape:
        return 27;
    case Qt::Key_Space:
        return U' ';
    case Qt::Key_Equal:
        return U'=';
    case Qt::Key_Plus:
        return U'='; // Ctrl-"+" where "=" and "+" share a key
    case Qt::Key_Minus:
        return U'-';
    case Qt::Key_QuoteLeft:
        return U'`';
    case Qt::Key_Period:
        return U'.';
    default:
        break;
    }
    const QList<uint> text = event.text().toUcs4();
    if (text.size() == 1 && text.front() >= 0x20 && text.front() != 0x7f) return text.front();
    return 0;
}

TypedFilter::KeyRole TypedFilter::roleOf(char32_t c)
{
    if (c == 13 || c == 3) return KeyRole::Return;
    if (c == 127) return KeyRole::Backspace;
    if (c < 128 && (std::isalpha(static_cast<int>(c)) || std::isdigit(static_cast<int>(c))))
        return KeyRole::Character;
    if (c == U' ') return KeyRole::Space;
    return KeyRole::None;
}

TypedFilter::TypedFilter()
{
    _timer.setSingleShot(true);
}

bool TypedFilter::filtersOut(const TQAppPtr &app) const
{
    if (!app || _text.isEmpty()) return false;
    if (_text.size() == 1) {
        const QByteArray utf8 = _text.toUtf8();
        return !app->containsLetter(utf8.front());
    }
    return !app->name().contains(_text, Qt::CaseInsensitive);
}

AppList TypedFilter::matches(const AppList &apps) const
{
    AppList result;
    for (const TQAppPtr &app : apps)
        if (!filtersOut(app)) result.append(app);
    return result;
}

void TypedFilter::type(char32_t c, KeyRole role)
{
    if (!isWordOpen()) _text.clear(); // a new word begins
    switch (role) {
    case KeyRole::Backspace:
        _text.chop(1);
        break;
    case KeyRole::Character:
        _text.append(QChar(static_cast<char16_t>(std::tolower(static_cast<int>(c)))));
        break;
    case KeyRole::Space:
        if (!_text.isEmpty() && !_text.endsWith(u' ')) _text.append(u' ');
        break;
    case KeyRole::None:
    case KeyRole::Return:
        break;
    }
    keepWordOpen();
}

TQAppPtr TypedFilter::pressReturn(const AppList &shown)
{
    // The word is matched as it stands, even when closed.
    const AppList found = matches(shown);
    if (!isWordOpen() || found.size() == 1) _text.clear();
    keepWordOpen();
    return found.size() == 1 ? found.front() : nullptr;
}

void TypedFilter::stepLetter(bool up)
{
    if (_text.isEmpty()) {
        _text = up ? QStringLiteral("z") : QStringLiteral("a");
    } else if (_text.size() == 1) {
        const char16_t letter = _text.front().unicode();
        const char16_t next = up ? letter - 1 : letter + 1;
        if (next >= u'a' && next <= u'z')
            _text = QString(QChar(next));
        else
            _text.clear();
    }
    closeWord(); // the letter stays until the next key begins a new word
}

void TypedFilter::keepWordOpen()
{
    _timer.start(static_cast<int>(kResetInterval * 1000));
}

} // namespace kelp
