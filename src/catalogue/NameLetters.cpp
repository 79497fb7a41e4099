#include "catalogue/NameLetters.h"

namespace kelp {
namespace {

// The C locale's classes, spelled out so that the result never depends on the process locale.
bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}
bool isUpper(char c)
{
    return c >= 'A' && c <= 'Z';
}
bool isLower(char c)
{
    return c >= 'a' && c <= 'z';
}
bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}
char toLower(char c)
{
    return isUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}
bool isVowel(char c)
{
    const char l = toLower(c);
    return l == 'a' || l == 'e' || l == 'i' || l == 'o' || l == 'u';
}

} // namespace

QByteArray nameLetters(const QString &name)
{
    const QByteArray bytes = name.toUtf8();
    QByteArray letters;
    auto take = [&letters](char c) {
        const char l = toLower(c);
        if (letters.size() < kMaxNameLetters && !letters.contains(l)) letters.append(l);
    };

    bool afterSeparator = true;
    int capitalRun = 0;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const char c = bytes.at(i);
        if (isSpace(c)) {
            afterSeparator = true;
            capitalRun = 0;
        } else if (isUpper(c) || isLower(c)) {
            const bool capital = isUpper(c);
            if (afterSeparator || (capitalRun == 0 && capital)) {
                take(c);
            } else if (capitalRun >= 2 && !capital) {
                // The end of a run of capitals: the lower-case letter starts the next word unless
                // a vowel joins it to the last capital, which then starts the word.
                const char previous = bytes.at(i - 1);
                if (!isVowel(c) && !isVowel(previous))
                    take(c);
                else
                    take(previous);
            }
            capitalRun = capital ? capitalRun + 1 : 0;
            afterSeparator = false;
        } else if (isDigit(c)) {
            take(c);
            capitalRun = 0;
            afterSeparator = false;
        } else {
            afterSeparator = (c == '-' || c == '_' || c == '.');
            capitalRun = 0;
        }
    }
    return letters;
}

} // namespace kelp
