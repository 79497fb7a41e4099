#include "triggers/VirtualKeys.h"

#include "triggers/KeyTable.h"

namespace kelp {

namespace {

struct VirtualKey
{
    int code;
    Qt::Key key;
    bool keypad;
};

// The virtual key codes of a US extended keyboard.
constexpr VirtualKey kVirtualKeys[] = {
    {0, Qt::Key_A, false},        {1, Qt::Key_S, false},          {2, Qt::Key_D, false},
    {3, Qt::Key_F, false},        {4, Qt::Key_H, false},          {5, Qt::Key_G, false},
    {6, Qt::Key_Z, false},        {7, Qt::Key_X, false},          {8, Qt::Key_C, false},
    {9, Qt::Key_V, false},        {11, Qt::Key_B, false},         {12, Qt::Key_Q, false},
    {13, Qt::Key_W, false},       {14, Qt::Key_E, false},         {15, Qt::Key_R, false},
    {16, Qt::Key_Y, false},       {17, Qt::Key_T, false},         {18, Qt::Key_1, false},
    {19, Qt::Key_2, false},       {20, Qt::Key_3, false},         {21, Qt::Key_4, false},
    {22, Qt::Key_6, false},       {23, Qt::Key_5, false},         {24, Qt::Key_Equal, false},
    {25, Qt::Key_9, false},       {26, Qt::Key_7, false},         {27, Qt::Key_Minus, false},
    {28, Qt::Key_8, false},       {29, Qt::Key_0, false},         {30, Qt::Key_BracketRight, false},
    {31, Qt::Key_O, false},       {32, Qt::Key_U, false},         {33, Qt::Key_BracketLeft, false},
    {34, Qt::Key_I, false},       {35, Qt::Key_P, false},         {36, Qt::Key_Return, false},
    {37, Qt::Key_L, false},       {38, Qt::Key_J, false},         {39, Qt::Key_Apostrophe, false},
    {40, Qt::Key_K, false},       {41, Qt::Key_Semicolon, false}, {42, Qt::Key_Backslash, false},
    {43, Qt::Key_Comma, false},   {44, Qt::Key_Slash, false},     {45, Qt::Key_N, false},
    {46, Qt::Key_M, false},       {47, Qt::Key_Period, false},    {48, Qt::Key_Tab, false},
    {49, Qt::Key_Space, false},   {50, Qt::Key_QuoteLeft, false}, {51, Qt::Key_Backspace, false},
    {53, Qt::Key_Escape, false},  {64, Qt::Key_F17, false},       {65, Qt::Key_Period, true},
    {67, Qt::Key_Asterisk, true}, {69, Qt::Key_Plus, true},       {71, Qt::Key_Clear, true},
    {75, Qt::Key_Slash, true},    {76, Qt::Key_Enter, true},      {78, Qt::Key_Minus, true},
    {79, Qt::Key_F18, false},     {80, Qt::Key_F19, false},       {81, Qt::Key_Equal, true},
    {82, Qt::Key_0, true},        {83, Qt::Key_1, true},          {84, Qt::Key_2, true},
    {85, Qt::Key_3, true},        {86, Qt::Key_4, true},          {87, Qt::Key_5, true},
    {88, Qt::Key_6, true},        {89, Qt::Key_7, true},          {90, Qt::Key_F20, false},
    {91, Qt::Key_8, true},        {92, Qt::Key_9, true},          {96, Qt::Key_F5, false},
    {97, Qt::Key_F6, false},      {98, Qt::Key_F7, false},        {99, Qt::Key_F3, false},
    {100, Qt::Key_F8, false},     {101, Qt::Key_F9, false},       {103, Qt::Key_F11, false},
    {105, Qt::Key_F13, false},    {106, Qt::Key_F16, false},      {107, Qt::Key_F14, false},
    {109, Qt::Key_F10, false},    {111, Qt::Key_F12, false},      {113, Qt::Key_F15, false},
    {114, Qt::Key_Help, false},   {115, Qt::Key_Home, false},     {116, Qt::Key_PageUp, false},
    {117, Qt::Key_Delete, false}, {118, Qt::Key_F4, false},       {119, Qt::Key_End, false},
    {120, Qt::Key_F2, false},     {121, Qt::Key_PageDown, false}, {122, Qt::Key_F1, false},
    {123, Qt::Key_Left, false},   {124, Qt::Key_Right, false},    {125, Qt::Key_Down, false},
    {126, Qt::Key_Up, false},
};

} // namespace

std::optional<HotKeyChord> chordForHotKey(qint64 virtualKeyCode, qint64 modifierBits)
{
    if (virtualKeyCode < 0) return std::nullopt;
    for (const VirtualKey &v : kVirtualKeys) {
        if (v.code != virtualKeyCode) continue;
        HotKeyChord chord;
        chord.key = v.key;
        chord.keypad = v.keypad;
        if (modifierBits & ModifierControl) chord.modifiers |= Qt::ControlModifier;
        if (modifierBits & ModifierOption) chord.modifiers |= Qt::AltModifier;
        if (modifierBits & ModifierCommand) chord.modifiers |= Qt::MetaModifier;
        if (modifierBits & ModifierShift) chord.modifiers |= Qt::ShiftModifier;
        return chord;
    }
    return std::nullopt;
}

} // namespace kelp
