#!/usr/bin/env python3
"""Draws the player's images as SVG and writes the resource collection that embeds them.

Usage: make_images.py <output dir> <qrc file> <font dir> <sound dir>

Every picture is drawn from a few shared glyphs and one palette, so that the toolbar, panel
and widget images stay one family. Files named *.png in the resource tree hold SVG as well:
Qt picks the reader from the content, and the names are the ones the code asks for.
"""
import math
import os
import sys

# The program's dark palette.
BLACK = "#000000"
DIALOG = "#262626"
POPUP = "#1D1D1D"
HOVER_BG = "#303030"
FRAME = "#3C3C39"
RULE = "#4C4C4C"
MUTED = "#9B9C9B"
LIGHT = "#D2D3D3"
WHITE = "#FFFFFF"
ACCENT = "#E6195E"
ACCENT_LIGHT = "#F0508A"
SUCCESS = "#3DBB6D"


def svg(width, height, body, view=None):
    view = view or "0 0 %d %d" % (width, height)
    return ('<?xml version="1.0" encoding="UTF-8"?>\n'
            '<svg xmlns="http://www.w3.org/2000/svg" width="%d" height="%d" viewBox="%s">\n%s\n</svg>\n'
            % (width, height, view, body))


def stroke(c, w=2.0):
    return 'fill="none" stroke="%s" stroke-width="%g" stroke-linecap="round" stroke-linejoin="round"' % (c, w)


# Glyphs on a 30 x 30 grid, drawn in one colour.
def g_sound(c, plus):
    s = '<path d="M4 12h4.5l6-5v16l-6-5H4z" fill="%s"/>' % c
    s += '<path d="M19 15h8" %s/>' % stroke(c, 2.2)
    if plus:
        s += '<path d="M23 11v8" %s/>' % stroke(c, 2.2)
    return s


def g_rotate(c):
    s = '<rect x="10" y="8" width="10" height="16" rx="1.8" %s/>' % stroke(c, 1.8)
    s += '<path d="M13.5 21h3" %s/>' % stroke(c, 1.4)
    s += '<path d="M5 13a10.5 10.5 0 0 1 14-8.5" %s/>' % stroke(c, 1.8)
    s += '<path d="M16.5 2.5l3 2-2 3" %s/>' % stroke(c, 1.8)
    s += '<path d="M25 17a10.5 10.5 0 0 1-14 8.5" %s/>' % stroke(c, 1.8)
    s += '<path d="M13.5 27.5l-3-2 2-3" %s/>' % stroke(c, 1.8)
    return s


def g_pixelperfect(c, active):
    s = '<path d="M4 10V4h6M20 4h6v6M26 20v6h-6M10 26H4v-6" %s/>' % stroke(c, 2)
    if active:
        s += '<rect x="10" y="10" width="10" height="10" rx="1" fill="%s"/>' % c
    else:
        s += '<rect x="10.5" y="10.5" width="9" height="9" rx="1" %s/>' % stroke(c, 1.8)
    return s


def g_back(c):
    return ('<path d="M11 7l-6 6 6 6" %s/>' % stroke(c, 2.2)
            + '<path d="M5.5 13H19a6 6 0 0 1 0 12h-5" %s/>' % stroke(c, 2.2))


def g_recent(c):
    return ('<rect x="9" y="9" width="16" height="16" rx="2" %s/>' % stroke(c, 2)
            + '<path d="M5 20V7a2 2 0 0 1 2-2h13" %s/>' % stroke(c, 2))


def g_menu(c):
    return '<path d="M6 8h18M6 15h18M6 22h18" %s/>' % stroke(c, 2.4)


def g_home(c):
    return ('<path d="M4 14.5L15 5l11 9.5" %s/>' % stroke(c, 2.2)
            + '<path d="M7.5 12v13h15V12" %s/>' % stroke(c, 2.2)
            + '<path d="M13 25v-7h4v7" %s/>' % stroke(c, 1.8))


def g_power(c):
    return ('<path d="M10 8.5a9.5 9.5 0 1 0 10 0" %s/>' % stroke(c, 2.4)
            + '<path d="M15 4v11" %s/>' % stroke(c, 2.4))


def g_battery(c):
    return ('<rect x="9" y="6" width="12" height="21" rx="2" %s/>' % stroke(c, 2)
            + '<rect x="12.5" y="3" width="5" height="3" rx="1" fill="%s"/>' % c
            + '<path d="M16.5 10l-4 7h4l-2.5 6" %s/>' % stroke(c, 1.6))


def g_gps(c):
    return ('<path d="M15 27s-8.5-8.3-8.5-14.5a8.5 8.5 0 0 1 17 0C23.5 18.7 15 27 15 27z" %s/>' % stroke(c, 2)
            + '<circle cx="15" cy="12.5" r="3.2" %s/>' % stroke(c, 2))


def g_camera(c):
    return ('<path d="M4 10.5a2 2 0 0 1 2-2h4l2-3h6l2 3h4a2 2 0 0 1 2 2V23a2 2 0 0 1-2 2H6a2 2 0 0 1-2-2z" %s/>'
            % stroke(c, 2)
            + '<circle cx="15" cy="16.5" r="4.5" %s/>' % stroke(c, 2))


def g_screencast(c):
    return ('<rect x="3" y="6" width="24" height="16" rx="2" %s/>' % stroke(c, 2)
            + '<path d="M10 26h10M15 22v4" %s/>' % stroke(c, 2)
            + '<circle cx="15" cy="14" r="3.5" fill="%s"/>' % c)


def g_remote(c):
    return ('<rect x="5" y="7" width="11" height="19" rx="2" %s/>' % stroke(c, 2)
            + '<path d="M9 22.5h3" %s/>' % stroke(c, 1.6)
            + '<path d="M20 10a5 5 0 0 1 0 7M23 6.5a10 10 0 0 1 0 14" %s/>' % stroke(c, 2))


def g_deviceid(c):
    return ('<rect x="3" y="7" width="24" height="17" rx="2" %s/>' % stroke(c, 2)
            + '<circle cx="10" cy="13.5" r="2.6" %s/>' % stroke(c, 1.7)
            + '<path d="M6 20.5a4 4 0 0 1 8 0" %s/>' % stroke(c, 1.7)
            + '<path d="M17 12.5h6M17 17h6M17 21h4" %s/>' % stroke(c, 1.7))


def g_network(c):
    return ''.join('<rect x="%g" y="%g" width="4" height="%g" rx="1" fill="%s"/>' % (4 + i * 6, 25 - h, h, c)
                   for i, h in enumerate((5, 10, 15, 20)))


def g_baseband(c):
    return ('<path d="M8.5 4.5l3.5 0.5 2 5.5-2.7 2.2a14 14 0 0 0 6 6l2.2-2.7 5.5 2 0.5 3.5'
            '-2.5 2.5C16 24.5 5.5 14 6 7z" %s/>' % stroke(c, 2))


ACTION_GLYPHS = {
    "sound-up": lambda c: g_sound(c, True),
    "sound-down": lambda c: g_sound(c, False),
    "rotate": g_rotate,
    "pixelperfect": lambda c: g_pixelperfect(c, False),
    "pixelperfect-active": lambda c: g_pixelperfect(c, True),
    "back": g_back,
    "recent": g_recent,
    "menu": g_menu,
    "home": g_home,
    "power": g_power,
}

PANEL_GLYPHS = {
    "battery": g_battery,
    "gps": g_gps,
    "camera": g_camera,
    "screencast": g_screencast,
    "remote": g_remote,
    "deviceid": g_deviceid,
    "network": g_network,
    "baseband": g_baseband,
}


def toolbar_icon(glyph, colour, visible=False, active_mark=False):
    body = ''
    if visible:
        # An open panel: a lit tile behind the glyph and a bar on the side facing the panel.
        body += '<rect x="0" y="0" width="30" height="30" rx="4" fill="%s"/>' % HOVER_BG
        body += '<rect x="0" y="4" width="2" height="22" rx="1" fill="%s"/>' % ACCENT
    body += glyph(colour)
    if active_mark:
        body += '<circle cx="26" cy="4" r="3" fill="%s" stroke="%s" stroke-width="1"/>' % (ACCENT, BLACK)
    return svg(30, 30, body)


# Pictograms on a 32 x 32 grid.
def disc(c):
    return '<circle cx="16" cy="16" r="15" fill="%s"/>' % c


def picto_check():
    return svg(32, 32, disc(SUCCESS) + '<path d="M9 16.5l4.5 4.5L23 11.5" %s/>' % stroke(WHITE, 3))


def picto_cross(bg, fg):
    return svg(32, 32, disc(bg) + '<path d="M11 11l10 10M21 11L11 21" %s/>' % stroke(fg, 3))


def picto_info(bg=ACCENT, size=32):
    return svg(size, size, disc(bg) + '<circle cx="16" cy="9.5" r="2" fill="%s"/>' % WHITE
               + '<path d="M16 14.5v9" %s/>' % stroke(WHITE, 3), view="0 0 32 32")


def picto_help():
    return svg(32, 32, disc(FRAME) + '<path d="M12 12.5a4 4 0 1 1 5.5 3.7c-1 .5-1.5 1.2-1.5 2.3v1" %s/>'
               % stroke(WHITE, 2.6) + '<circle cx="16" cy="23.5" r="1.7" fill="%s"/>' % WHITE)


def picto_cloud():
    return svg(64, 64, '<path d="M18 48a11 11 0 0 1-1-22 15 15 0 0 1 29-3 12.5 12.5 0 0 1 2 25z" fill="%s"/>'
               % ACCENT + '<path d="M32 42V29M26.5 34.5L32 29l5.5 5.5" %s/>' % stroke(WHITE, 3))


def picto_download():
    return svg(64, 64, '<circle cx="32" cy="32" r="30" fill="%s"/>' % FRAME
               + '<path d="M32 14v25M22 30l10 10 10-10" %s/>' % stroke(WHITE, 4.5)
               + '<path d="M19 48h26" %s/>' % stroke(ACCENT, 4.5))


def picto_erase_disabled():
    return svg(32, 32, '<path d="M5 21l11-11 8 8-7 7H9z" %s/>' % stroke(MUTED, 2)
               + '<path d="M11 15l8 8M17 25h10" %s/>' % stroke(MUTED, 2))


def picto_spinner():
    # Twelve dots fading round the ring: turned step by step, it reads as motion.
    dots = []
    for i in range(12):
        a = 2 * math.pi * i / 12
        x = 32 + 24 * math.sin(a)
        y = 32 - 24 * math.cos(a)
        dots.append('<circle cx="%.2f" cy="%.2f" r="%.2f" fill="%s" fill-opacity="%.2f"/>'
                    % (x, y, 3 + 2.5 * i / 11, ACCENT, 0.15 + 0.85 * i / 11))
    return svg(64, 64, ''.join(dots))


def picto_random(c):
    return svg(20, 20, '<rect x="2" y="2" width="16" height="16" rx="3.5" %s/>' % stroke(c, 1.8)
               + ''.join('<circle cx="%g" cy="%g" r="1.6" fill="%s"/>' % (x, y, c)
                         for x, y in ((6.5, 6.5), (13.5, 6.5), (10, 10), (6.5, 13.5), (13.5, 13.5))))


def button_face(fill, border, width=60, height=30):
    return svg(width, height, '<rect x="0.5" y="0.5" width="%g" height="%g" rx="3" fill="%s" stroke="%s"/>'
               % (width - 1, height - 1, fill, border))


def close_popup():
    return svg(31, 33, '<rect x="0" y="0" width="31" height="33" fill="%s"/>' % POPUP
               + '<path d="M10 11l11 11M21 11L10 22" %s/>' % stroke(WHITE, 2.4))


def arrow(c, up, w=12, h=12):
    d = 'M2 8l4-4 4 4' if up else 'M2 4l4 4 4-4'
    return svg(w, h, '<path d="%s" %s/>' % (d, stroke(c, 2)), view="0 0 12 12")


def text_field():
    # Light, so that the fields' dark bold text reads; disabled fields turn grey through the style.
    # Drawn about as large as a field, since the style stretches the whole picture over it.
    return svg(360, 36, '<rect x="0.5" y="0.5" width="359" height="35" rx="3" fill="%s" stroke="%s"/>'
               % (WHITE, LIGHT))


def slider_handle():
    return svg(20, 20, '<circle cx="10" cy="10" r="8.5" fill="%s" stroke="%s" stroke-width="3"/>'
               % (WHITE, ACCENT))


def switch(track, knob, on, label_colour):
    knob_x = 63.5 if on else 13.5
    body = '<rect x="1" y="1" width="75" height="25" rx="12.5" fill="%s"/>' % track
    body += '<circle cx="%g" cy="13.5" r="10" fill="%s"/>' % (knob_x, knob)
    # A small mark on the free side: a bar for on, a ring for off.
    if on:
        body += '<path d="M24 9v9" %s/>' % stroke(label_colour, 2)
    else:
        body += '<circle cx="53" cy="13.5" r="4.5" %s/>' % stroke(label_colour, 2)
    return svg(77, 27, body)


def checkbox(fill, border, mark):
    body = '<rect x="1" y="1" width="14" height="14" rx="2.5" fill="%s" stroke="%s" stroke-width="1.5"/>' % (
        fill, border)
    if mark:
        body += '<path d="M4.5 8.3l2.4 2.4 4.8-5" %s/>' % stroke(mark, 2)
    return svg(16, 16, body)


def radio(checked):
    body = '<circle cx="8" cy="8" r="6.8" fill="%s" stroke="%s" stroke-width="1.5"/>' % (
        FRAME, ACCENT if checked else MUTED)
    if checked:
        body += '<circle cx="8" cy="8" r="3.5" fill="%s"/>' % ACCENT
    return svg(16, 16, body)


def battery_level(level):
    body = '<rect x="20" y="4" width="24" height="6" rx="2" fill="%s"/>' % LIGHT
    body += '<rect x="12" y="10" width="40" height="50" rx="5" %s/>' % stroke(LIGHT, 3)
    if level:
        height = 42 * level / 100
        colour = ACCENT if level <= 25 else WHITE
        body += '<rect x="16.5" y="%g" width="31" height="%g" rx="2" fill="%s"/>' % (55.5 - height, height, colour)
    else:
        body += '<path d="M32 22v16" %s/><circle cx="32" cy="46" r="2.2" fill="%s"/>' % (stroke(ACCENT, 4), ACCENT)
    return svg(64, 64, body)


def charging(on):
    c = ACCENT if on else FRAME
    return svg(32, 32, '<path d="M18.5 2L7 18h8l-2 12 12-17h-8z" fill="%s"/>' % c)


def compass_background():
    body = '<circle cx="100" cy="100" r="97" fill="%s" stroke="%s" stroke-width="4"/>' % (DIALOG, FRAME)
    ticks = []
    for i in range(72):
        a = 2 * math.pi * i / 72
        inner = 80 if i % 18 == 0 else (86 if i % 6 == 0 else 90)
        ticks.append('<path d="M%.2f %.2fL%.2f %.2f" %s/>' % (
            100 + inner * math.sin(a), 100 - inner * math.cos(a),
            100 + 94 * math.sin(a), 100 - 94 * math.cos(a),
            stroke(WHITE if i % 18 == 0 else MUTED, 2.5 if i % 18 == 0 else 1.2)))
    body += ''.join(ticks)
    # N, E, S, W drawn as strokes so that no font is needed.
    body += '<path d="M94 40V24l12 16V24" %s/>' % stroke(ACCENT, 3)
    body += '<path d="M170 92h-10v16h10M160 100h8" %s/>' % stroke(WHITE, 2.5)
    body += '<path d="M106 163a6 4 0 0 0-6-3c-8 0-8 8 0 8s8 8 0 8a6 4 0 0 1-6-3" %s/>' % stroke(WHITE, 2.5)
    body += '<path d="M26 92l3 16 4-12 4 12 3-16" %s/>' % stroke(WHITE, 2.5)
    body += '<circle cx="100" cy="100" r="56" fill="none" stroke="%s" stroke-width="1.5"/>' % FRAME
    return svg(200, 200, body)


def compass_arrow(north, south, hub):
    return svg(200, 200, '<path d="M100 30l12 70H88z" fill="%s"/>' % north
               + '<path d="M88 100h24l-12 70z" fill="%s"/>' % south
               + '<circle cx="100" cy="100" r="8" fill="%s" stroke="%s" stroke-width="3"/>' % (hub, DIALOG))


def map_button(fill, glyph):
    return svg(49, 49, '<rect x="0.5" y="0.5" width="48" height="48" rx="5" fill="%s"/>' % fill
               + '<path d="M9 15l10-4 11 4 10-4v23l-10 4-11-4-10 4z" %s/>' % stroke(glyph, 2)
               + '<path d="M19 11v23M30 15v23" %s/>' % stroke(glyph, 1.4))


def screencast_button(kind, hover):
    fill = RULE if hover else FRAME
    c = ACCENT if hover else WHITE
    body = '<rect x="0.5" y="0.5" width="47" height="47" rx="6" fill="%s"/>' % fill
    if kind == "snapshot":
        body += '<g transform="translate(9 9)">%s</g>' % g_camera(c)
    elif kind == "video":
        body += ('<rect x="9" y="15" width="21" height="18" rx="3" %s/>' % stroke(c, 2.4)
                 + '<path d="M30 21l9-5v16l-9-5z" %s/>' % stroke(c, 2.4))
    else:
        body += '<path d="M9 15a2 2 0 0 1 2-2h8l3 4h15a2 2 0 0 1 2 2v13a2 2 0 0 1-2 2H11a2 2 0 0 1-2-2z" %s/>' % (
            stroke(c, 2.4))
    return svg(48, 48, body)


def popup_piece(kind):
    # 13-pixel frame pieces: a soft outer shade, then the dark rim that meets the body.
    shade = '<stop offset="0" stop-color="#000" stop-opacity="0"/><stop offset="1" stop-color="#000" stop-opacity="0.7"/>'
    rim = POPUP
    if kind in ("top", "bottom", "left", "right"):
        horizontal = kind in ("top", "bottom")
        x1, y1, x2, y2 = {"top": (0, 0, 0, 1), "bottom": (0, 1, 0, 0), "left": (0, 0, 1, 0), "right": (1, 0, 0, 0)}[kind]
        grad = '<defs><linearGradient id="g" x1="%d" y1="%d" x2="%d" y2="%d">%s</linearGradient></defs>' % (
            x1, y1, x2, y2, shade)
        band = {"top": (0, 6, 13, 7), "bottom": (0, 0, 13, 7), "left": (6, 0, 7, 13), "right": (0, 0, 7, 13)}[kind]
        line = {"top": "M0 6.5h13", "bottom": "M0 6.5h13", "left": "M6.5 0v13", "right": "M6.5 0v13"}[kind]
        shade_rect = {"top": (0, 0, 13, 6), "bottom": (0, 7, 13, 6), "left": (0, 0, 6, 13), "right": (7, 0, 6, 13)}[kind]
        body = grad + '<rect x="%d" y="%d" width="%d" height="%d" fill="url(#g)"/>' % shade_rect
        body += '<rect x="%d" y="%d" width="%d" height="%d" fill="%s"/>' % (band + (rim,))
        body += '<path d="%s" stroke="%s" stroke-width="1"/>' % (line, RULE)
        del horizontal
        return svg(13, 13, body)
    # Corners: a quarter ring of rim around the inner corner, centred on the corner the body touches.
    cx, cy = {"top_left": (13, 13), "top_right": (0, 13), "bottom_left": (13, 0), "bottom_right": (0, 0)}[kind]
    grad = ('<defs><radialGradient id="g" cx="%d" cy="%d" r="13" gradientUnits="userSpaceOnUse">'
            '<stop offset="0.5" stop-color="#000" stop-opacity="0.7"/>'
            '<stop offset="1" stop-color="#000" stop-opacity="0"/></radialGradient></defs>') % (cx, cy)
    body = grad + '<rect x="0" y="0" width="13" height="13" fill="url(#g)"/>'
    body += '<circle cx="%d" cy="%d" r="6.5" fill="%s" stroke="%s" stroke-width="1"/>' % (cx, cy, rim, RULE)
    return svg(13, 13, body)


def app_icon():
    body = ('<defs><linearGradient id="bg" x1="0" y1="0" x2="0" y2="1">'
            '<stop offset="0" stop-color="#3A3A3A"/><stop offset="1" stop-color="#111111"/></linearGradient>'
            '<linearGradient id="ac" x1="0" y1="0" x2="1" y2="1">'
            '<stop offset="0" stop-color="%s"/><stop offset="1" stop-color="#A8104A"/></linearGradient></defs>'
            % ACCENT_LIGHT)
    body += '<rect x="16" y="16" width="480" height="480" rx="96" fill="url(#bg)"/>'
    body += '<rect x="156" y="72" width="200" height="368" rx="32" fill="url(#ac)"/>'
    body += '<rect x="176" y="112" width="160" height="272" rx="8" fill="%s"/>' % POPUP
    body += '<path d="M232 196v104l84-52z" fill="%s"/>' % WHITE
    body += '<circle cx="256" cy="412" r="12" fill="%s"/>' % POPUP
    return svg(512, 512, body)


def logo():
    body = '<circle cx="160" cy="160" r="150" fill="%s"/>' % ACCENT
    body += '<rect x="108" y="62" width="104" height="196" rx="18" fill="%s"/>' % WHITE
    body += '<rect x="120" y="84" width="80" height="144" rx="4" fill="%s"/>' % POPUP
    body += '<path d="M146 128v56l44-28z" fill="%s"/>' % ACCENT
    return svg(320, 320, body)


def build_images():
    """Returns {resource path: SVG text}."""
    images = {}
    for name, glyph in ACTION_GLYPHS.items():
        images["panel/button/%s-default" % name] = toolbar_icon(glyph, LIGHT)
        images["panel/button/%s-hover" % name] = toolbar_icon(glyph, ACCENT)
        images["panel/button/%s-disabled" % name] = toolbar_icon(glyph, FRAME)
    for name, glyph in PANEL_GLYPHS.items():
        images["panel/%s-notvisible-notactivate" % name] = toolbar_icon(glyph, LIGHT)
        images["panel/%s-visible-notactivate" % name] = toolbar_icon(glyph, WHITE, visible=True)
        images["panel/%s-notvisible-activate" % name] = toolbar_icon(glyph, LIGHT, active_mark=True)
        images["panel/%s-visible-activate" % name] = toolbar_icon(glyph, WHITE, visible=True, active_mark=True)
        images["panel/%s-disabled" % name] = toolbar_icon(glyph, FRAME)

    images["icon"] = app_icon()
    images["logo"] = logo()

    images["buttons/default"] = button_face(FRAME, RULE)
    images["buttons/hover"] = button_face(RULE, ACCENT)
    images["buttons/pressed"] = button_face(ACCENT, ACCENT)
    images["buttons/hover_pressed"] = button_face(ACCENT_LIGHT, ACCENT)
    images["buttons/disabled"] = button_face(DIALOG, FRAME)
    images["buttons/close_popup"] = close_popup()

    images["common/arrow_down_preview"] = arrow(WHITE, False, 16, 16)
    images["common/arrow_down_combobox"] = arrow(WHITE, False)
    images["common/arrow_up_combobox"] = arrow(WHITE, True)
    images["common/champ_text.png"] = text_field()
    images["common/slider_button.png"] = slider_handle()
    images["common/cross"] = picto_cross(ACCENT, WHITE)

    images["menu/help_default"] = picto_help()

    images["picto/check"] = picto_check()
    images["picto/cross"] = picto_cross(ACCENT, WHITE)
    images["picto/grey-cross"] = picto_cross(FRAME, LIGHT)
    images["picto/info"] = picto_info()
    images["picto/cloud"] = picto_cloud()
    images["picto/download"] = picto_download()
    images["picto/erase_disabled"] = picto_erase_disabled()
    images["picto/spinner"] = picto_spinner()
    images["picto/random_default"] = picto_random(LIGHT)
    images["picto/random_hover"] = picto_random(ACCENT)

    for kind in ("top", "bottom", "left", "right"):
        images["popup/border_%s" % kind] = popup_piece(kind)
    for kind in ("top_left", "top_right", "bottom_left", "bottom_right"):
        images["popup/%s_corner" % kind] = popup_piece(kind)

    for level in (0, 25, 50, 75, 100):
        images["widgets/battery/battery%d_default.svg" % level] = battery_level(level)
    images["widgets/battery/charging_on.svg"] = charging(True)
    images["widgets/battery/charging_off.svg"] = charging(False)

    images["widgets/checkbox_bg_disabled"] = checkbox(FRAME, MUTED, None)
    images["widgets/check_enabled"] = checkbox(ACCENT, ACCENT, WHITE)
    images["widgets/check_disabled"] = checkbox(FRAME, FRAME, MUTED)
    images["widgets/radio_button"] = radio(False)
    images["widgets/cli_radio_button"] = radio(True)

    images["widgets/common/btn_switch_off"] = switch(FRAME, WHITE, False, MUTED)
    images["widgets/common/btn_switch_on"] = switch(ACCENT, WHITE, True, WHITE)
    images["widgets/common/btn_switch_disabled"] = switch(HOVER_BG, RULE, False, RULE)

    images["widgets/gps/boussole_background.svg"] = compass_background()
    # At rest the arrow shows the dial's zero, which is south: its lit point is the lower one,
    # and the dial's value turns it to the bearing.
    images["widgets/gps/boussole_arrow.svg"] = compass_arrow(WHITE, ACCENT, WHITE)
    images["widgets/gps/boussole_arrow_disabled.svg"] = compass_arrow(FRAME, RULE, RULE)
    images["widgets/gps/btn_map_default.png"] = map_button(FRAME, WHITE)
    images["widgets/gps/btn_map_hover.png"] = map_button(RULE, ACCENT)
    images["widgets/gps/btn_map_pressed.png"] = map_button(ACCENT, WHITE)
    images["widgets/gps/btn_map_hover_pressed.png"] = map_button(ACCENT_LIGHT, WHITE)

    for kind in ("snapshot", "video", "folder"):
        images["widgets/screencast/%s-default" % kind] = screencast_button(kind, False)
        images["widgets/screencast/%s-hover" % kind] = screencast_button(kind, True)
    images["widgets/screencast/screencast-info"] = picto_info()
    return images


FONTS = ("Lato-Bold", "Lato-Italic", "Lato-BoldItalic", "Lato-Regular")
SOUNDS = ("screenshot", "screencast_start", "screencast_stop")


def main():
    if len(sys.argv) != 5:
        sys.stderr.write("usage: make_images.py <output dir> <qrc file> <font dir> <sound dir>\n")
        return 2
    out_dir, qrc_path, font_dir, sound_dir = sys.argv[1:]
    entries = []
    for path, text in sorted(build_images().items()):
        file_name = os.path.join(out_dir, path.replace("/", "__") + ".svg")
        os.makedirs(os.path.dirname(file_name), exist_ok=True)
        with open(file_name, "w", encoding="utf-8") as f:
            f.write(text)
        entries.append((path, file_name))
    for font in FONTS:
        entries.append(("fonts/" + font, os.path.join(font_dir, font + ".ttf")))
    for sound in SOUNDS:
        entries.append(("sounds/" + sound, os.path.join(sound_dir, sound + ".wav")))
    with open(qrc_path, "w", encoding="utf-8") as f:
        f.write("<!DOCTYPE RCC>\n<RCC version=\"1.0\">\n<qresource prefix=\"/\">\n")
        for alias, file_name in entries:
            f.write('  <file alias="%s">%s</file>\n' % (alias, os.path.abspath(file_name)))
        f.write("</qresource>\n</RCC>\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
