#include "keymaps.h"

#include <Qt>

namespace KeyMaps {

QMap<QString, QList<int>> textKeyMap()
{
    QMap<QString, QList<int>> map;
    auto row = [&map](const char *characters, int firstCode, bool shifted) {
        for (int i = 0; characters[i]; ++i) {
            QList<int> codes;
            if (shifted)
                codes << LeftShift;
            codes << firstCode + i;
            map.insert(QString(QLatin1Char(characters[i])), codes);
        }
    };
    row("1234567890-=", 2, false);
    row("!@#$%^&*()_+", 2, true);
    row("QWERTYUIOP[]", 16, false);
    row("{}", 26, true);
    row("ASDFGHJKL;'`", 30, false);
    row(":\"~", 39, true);
    map.insert(QStringLiteral("\\"), {43});
    map.insert(QStringLiteral("|"), {LeftShift, 43});
    row("ZXCVBNM,./", 44, false);
    row("<>?", 51, true);
    map.insert(QStringLiteral(" "), {57});
    return map;
}

QMap<int, QList<int>> qtKeyMap()
{
    static const struct
    {
        int key;
        int code;
    } keys[] = {
        {Qt::Key_Escape, 1},
        {Qt::Key_Backspace, 14},
        {Qt::Key_Tab, 15},
        {Qt::Key_Return, 28},
        {Qt::Key_Enter, 28},
        {Qt::Key_CapsLock, 58},
        {Qt::Key_ScrollLock, 70},
        {Qt::Key_Zenkaku_Hankaku, 85},
        {Qt::Key_F11, 87},
        {Qt::Key_F12, 88},
        {Qt::Key_Romaji, 89},
        {Qt::Key_Katakana, 90},
        {Qt::Key_Hiragana, 91},
        {Qt::Key_Henkan, 92},
        {Qt::Key_Muhenkan, 94},
        {Qt::Key_SysReq, 99},
        // Either host Alt is the device's right Alt.
        {Qt::Key_Alt, 100},
        {Qt::Key_Home, 102},
        {Qt::Key_Up, 103},
        {Qt::Key_PageUp, 104},
        {Qt::Key_Left, 105},
        {Qt::Key_Right, 106},
        {Qt::Key_End, 107},
        {Qt::Key_Down, 108},
        {Qt::Key_PageDown, 109},
        {Qt::Key_Insert, 110},
        {Qt::Key_Delete, 111},
        {Qt::Key_VolumeMute, 113},
        {Qt::Key_VolumeDown, 114},
        {Qt::Key_VolumeUp, 115},
        {Qt::Key_PowerOff, 116},
        {Qt::Key_PowerDown, 116},
        {Qt::Key_Pause, 119},
        {Qt::Key_Hangul, 122},
        {Qt::Key_Hangul_Hanja, 123},
        {Qt::Key_yen, 124},
        {Qt::Key_Meta, 125},
        {Qt::Key_Call, 127},
        {Qt::Key_Copy, 133},
        {Qt::Key_Paste, 135},
        {Qt::Key_Cut, 137},
        {Qt::Key_Help, 138},
        {Qt::Key_Calculator, 140},
        {Qt::Key_Sleep, 142},
        {Qt::Key_WakeUp, 143},
        {Qt::Key_Xfer, 147},
        {Qt::Key_WWW, 150},
        {Qt::Key_ScreenSaver, 152},
        {Qt::Key_Back, 158},
        {Qt::Key_MediaTogglePlayPause, 164},
        {Qt::Key_MediaPrevious, 165},
        {Qt::Key_MediaStop, 166},
        {Qt::Key_MediaRecord, 167},
        {Qt::Key_MediaPlay, 200},
        {Qt::Key_MediaPause, 201},
        {Qt::Key_Play, 207},
        {Qt::Key_Camera, 212},
        {Qt::Key_Search, 217},
        // The device toolbar's recent and menu buttons rest on these two.
        {Qt::Key_Shop, 221},
        {Qt::Key_Cancel, 223},
        {Qt::Key_Menu, 229},
    };
    QMap<int, QList<int>> map;
    for (const auto &entry : keys)
        map.insert(entry.key, {entry.code});
    for (int i = 0; i < 10; ++i)
        map.insert(Qt::Key_F1 + i, {59 + i});
    for (int i = 0; i < 12; ++i)
        map.insert(Qt::Key_F13 + i, {183 + i});
    return map;
}

} // namespace KeyMaps
