#pragma once
// TypedFilter: the letters typed over the icon grid and the applications they let through.
//
// Keys that come within a second of each other make one word. Once a second has passed without a
// key the word is closed: it stays until the next key, which begins a new word. A word of one
// letter matches the initials of an application's name (its name letters); two or more
// characters match any part of the name, whatever the case. Letters and digits are kept in lower
// case; a space is kept only after a letter and never twice in a row; Backspace takes the last
// character off. Return picks the application the word leaves when it leaves exactly one, and
// then clears the word.
#include "catalogue/TQApp.h"

#include <QString>
#include <QTimer>

class QKeyEvent;

namespace kelp {

class TypedFilter
{
public:
    // How long a word stays open after its last key, in seconds.
    static constexpr double kResetInterval = 1.0;

    // What a key does to the word.
    enum class KeyRole {
        None,      // nothing: the key is left to others
        Character, // a letter or digit is added
        Space,
        Backspace,
        Return, // Return or Enter
    };
    // The key's character with the modifiers ignored, as the filter and the Ctrl keys see it:
    // 13 Return, 3 Enter, 127 Backspace, 27 Escape; 0 when the key has no single character.
    static char32_t characterOfKey(const QKeyEvent &event);
    static KeyRole roleOf(char32_t c);

    TypedFilter();

    const QString &text() const { return _text; }
    bool isEmpty() const { return _text.isEmpty(); }
    // Whether keys still add to the word.
    bool isWordOpen() const { return _timer.isActive(); }

    bool filtersOut(const TQAppPtr &app) const;
    // The applications the word lets through, in their order.
    AppList matches(const AppList &apps) const;

    // A key of role Character, Space or Backspace: begins a new word when the last one is closed,
    // changes the word and keeps it open for another interval.
    void type(char32_t c, KeyRole role);
    // Return: the only application of shown that the word lets through, or none. The word is
    // cleared when there is one, else it stays (unless closed) and is open for another interval.
    TQAppPtr pressReturn(const AppList &shown);
    // The wheel's letter: an empty word becomes "z" (up) or "a" (down); a single letter moves one
    // letter back (up) or on (down), and past either end of the alphabet the word empties. The
    // word is closed at once, so the next key begins a new one.
    void stepLetter(bool up);
    void clear() { _text.clear(); }
    void closeWord() { _timer.stop(); }

private:
    void keepWordOpen();

    QString _text;
    QTimer _timer;
};

} // namespace kelp
