#!/usr/bin/env python3
"""Draws the effect's embedded pictures and writes them as a C++ source file.

Input: pictures.txt (what each picture says) and font5x7.txt (the letters).
Output: one .cpp holding every picture in the layout the module keeps them:
4 bytes a pixel, rows bottom-up; message pictures as B, G, R, A; button faces
as B, G, R, 0 with a separate mask (rows top-down, so that pixel i of the mask
belongs to pixel i of the face once the face is flipped) whose second byte is
the coverage. The
effect turns them into drawable top-down pixels on first use (host/
embedded_bitmaps.cpp), so nothing here needs an image library at run time.

Usage: make_pictures.py <pictures.txt> <font5x7.txt> <out.cpp> [<preview dir>]
With a preview directory each picture is also written there as a PAM file
(top-down, RGBA) for a quick look.
"""
import os
import sys

BUTTON_W, BUTTON_H = 80, 60


def load_font(path):
    glyphs = {}
    rows, ch = [], None
    with open(path, encoding="ascii") as f:
        for raw in f:
            line = raw.rstrip("\n")
            if line.startswith("# ") or line == "#":  # comment; glyph rows never hold a blank
                continue
            if line.startswith("char "):
                name = line[5:]
                ch = " " if name == "space" else name
                rows = []
                continue
            if ch is not None and line:
                if len(line) != 5 or set(line) - set("#."):
                    raise SystemExit(f"{path}: bad glyph row {line!r} for {ch!r}")
                rows.append(line)
                if len(rows) == 7:
                    glyphs[ch] = rows
                    ch = None
    return glyphs


def load_pictures(path):
    pics = []
    with open(path, encoding="ascii") as f:
        for n, raw in enumerate(f, 1):
            line = raw.rstrip("\n")
            body = line.strip()
            if not body or body.startswith("#"):
                continue
            word, _, rest = body.partition(" ")
            if word == "message":
                pics.append({"kind": "message", "id": int(rest), "title": "", "lines": []})
            elif word == "button":
                ident, look = rest.split()
                pics.append({"kind": "button", "id": int(ident), "look": look, "labels": []})
            elif word == "title":
                pics[-1]["title"] = rest
            elif word == "line":
                pics[-1]["lines"].append(rest)  # blanks after the first one indent the line
            elif word == "label":
                pics[-1]["labels"].append(rest)
            else:
                raise SystemExit(f"{path}:{n}: unknown word {word!r}")
    return pics


class Canvas:
    """RGBA canvas, top-down, 0..255 per channel."""

    def __init__(self, w, h, rgba):
        self.w, self.h = w, h
        self.px = [list(rgba) for _ in range(w * h)]

    def set(self, x, y, rgb, a=None):
        if 0 <= x < self.w and 0 <= y < self.h:
            p = self.px[y * self.w + x]
            p[0], p[1], p[2] = rgb
            if a is not None:
                p[3] = a

    def rect(self, x0, y0, x1, y1, rgb):
        for y in range(y0, y1):
            for x in range(x0, x1):
                self.set(x, y, rgb)

    def text(self, glyphs, x, y, s, scale, rgb):
        for ch in s:
            g = glyphs.get(ch)
            if g is None:
                raise SystemExit(f"no glyph for {ch!r}")
            for gy, row in enumerate(g):
                for gx, bit in enumerate(row):
                    if bit == "#":
                        self.rect(x + gx * scale, y + gy * scale, x + (gx + 1) * scale, y + (gy + 1) * scale, rgb)
            x += 6 * scale


def text_width(s, scale):
    return len(s) * 6 * scale - scale if s else 0


def hex_rgb(s):
    return (int(s[0:2], 16), int(s[2:4], 16), int(s[4:6], 16))


def draw_message(pic, glyphs):
    margin, title_scale, body_scale = 18, 3, 2
    title_h, line_h = 7 * title_scale, 10 * body_scale
    width = max([text_width(pic["title"], title_scale)] + [text_width(l, body_scale) for l in pic["lines"]])
    w = width + 2 * margin
    h = margin + title_h + 14 + len(pic["lines"]) * line_h + margin - (line_h - 7 * body_scale)
    c = Canvas(w, h, (28, 28, 30, 255))
    accent, body = hex_rgb("E8A33D"), hex_rgb("F2F2F2")
    # frame: accent border 3 pixels wide
    c.rect(0, 0, w, 3, accent)
    c.rect(0, h - 3, w, h, accent)
    c.rect(0, 0, 3, h, accent)
    c.rect(w - 3, 0, w, h, accent)
    c.text(glyphs, margin, margin, pic["title"], title_scale, accent)
    y = margin + title_h + 14
    for line in pic["lines"]:
        c.text(glyphs, margin, y, line, body_scale, body)
        y += line_h
    return c, None


BUTTON_LOOKS = {
    #               face top  face bottom border    text      offset check
    "normal":       ("F6F6F6", "CACACA", "555555", "1E1E1E", 0, False),
    "pressed":      ("B4B4B4", "D6D6D6", "3A3A3A", "101010", 1, False),
    "done":         ("E4F3E2", "B7D6B2", "4C6B48", "1F3A1C", 0, True),
    "done-pressed": ("A9C9A4", "CFE5CB", "34502F", "132810", 1, True),
}


def rounded_coverage(x, y, w, h, r):
    """Share (0..1) of pixel (x, y) inside a w x h rectangle with corner radius r (4 x 4 samples)."""
    inside = 0
    for sy in range(4):
        for sx in range(4):
            px, py = x + (sx + 0.5) / 4, y + (sy + 0.5) / 4
            cx = min(max(px, r), w - r)
            cy = min(max(py, r), h - r)
            if (px - cx) ** 2 + (py - cy) ** 2 <= r * r:
                inside += 1
    return inside / 16


def draw_button(pic, glyphs):
    top, bottom, border, ink, shift, check = BUTTON_LOOKS[pic["look"]]
    top, bottom, border, ink = hex_rgb(top), hex_rgb(bottom), hex_rgb(border), hex_rgb(ink)
    w, h, r = BUTTON_W, BUTTON_H, 9
    c = Canvas(w, h, (0, 0, 0, 0))
    mask = [0] * (w * h)
    for y in range(h):
        t = y / (h - 1)
        face = tuple(round(top[i] + (bottom[i] - top[i]) * t) for i in range(3))
        for x in range(w):
            cov = rounded_coverage(x, y, w, h, r)
            inner = rounded_coverage(x - 1.5, y - 1.5, w - 3, h - 3, r - 1.5)
            # border where the pixel is inside the outline but not inside the inset outline
            rgb = tuple(round(border[i] + (face[i] - border[i]) * inner) for i in range(3))
            c.set(x, y, rgb)
            mask[y * w + x] = round(255 * cov)
    labels = pic["labels"]
    scale, line_h = 2, 18
    block = len(labels) * line_h - (line_h - 7 * scale)
    y = (h - block) // 2 + shift
    for label in labels:
        x = (w - text_width(label, scale)) // 2 + shift
        c.text(glyphs, x, y, label, scale, ink)
        y += line_h
    if check:
        # a check mark badge in the top right corner
        pts = [(62, 8), (63, 9), (64, 10), (65, 11), (66, 10), (67, 9), (68, 8), (69, 7), (70, 6), (71, 5)]
        for (px, py) in pts:
            for dx in range(2):
                for dy in range(2):
                    c.set(px + dx + shift, py + dy + shift, ink)
    return c, mask


def c_bytes(name, data, const):
    """A string-literal initialiser: printable characters as they are, the rest as 3-digit octal escapes."""
    out, line = [], []
    n = 0
    for b in data:
        ch = chr(b)
        if 32 <= b < 127 and ch not in '\\"?':
            piece = ch
        else:
            piece = "\\%03o" % b
        line.append(piece)
        n += len(piece)
        if n >= 110:
            out.append('    "' + "".join(line) + '"')
            line, n = [], 0
    if line:
        out.append('    "' + "".join(line) + '"')
    qual = "const unsigned char" if const else "unsigned char"
    return f"alignas(16) {qual} {name}[] =\n" + "\n".join(out) + ";\n"


def stored_rows(canvas):
    """Rows bottom-up, as the module keeps them."""
    return range(canvas.h - 1, -1, -1)


def main():
    if len(sys.argv) not in (4, 5):
        raise SystemExit(__doc__)
    pics = load_pictures(sys.argv[1])
    glyphs = load_font(sys.argv[2])
    out_cpp = sys.argv[3]
    preview = sys.argv[4] if len(sys.argv) == 5 else None

    parts = ["// Generated by resources/make_pictures.py from resources/pictures.txt; do not edit.\n",
             '#include "host/embedded_bitmap_store.h"\n\nnamespace {\n\n']
    table = []
    for pic in pics:
        if pic["kind"] == "message":
            c, mask = draw_message(pic, glyphs)
        else:
            c, mask = draw_button(pic, glyphs)
        pixels = bytearray()
        for y in stored_rows(c):
            for x in range(c.w):
                r, g, b, a = c.px[y * c.w + x]
                if mask is None:
                    pixels += bytes((b, g, r, a))  # B, G, R, A; reversed on first use to A, R, G, B
                else:
                    pixels += bytes((b, g, r, 0))  # alpha comes from the mask on first use
        ident = pic["id"]
        parts.append(c_bytes(f"pixels_{ident}", pixels, const=False))
        mask_name = "nullptr"
        if mask is not None:
            mb = bytearray()
            for y in range(c.h):  # top-down: pixel i pairs with pixel i of the flipped face
                for x in range(c.w):
                    m = mask[y * c.w + x]
                    mb += bytes((m, m, m, 0))  # coverage in every colour byte; the effect reads byte 1
            parts.append(c_bytes(f"mask_{ident}", mb, const=True))
            mask_name = f"mask_{ident}"
        parts.append("\n")
        table.append(f"    {{{ident}, {c.w}, {c.h}, pixels_{ident}, {mask_name}}},\n")
        if preview:
            os.makedirs(preview, exist_ok=True)
            with open(os.path.join(preview, f"picture_{ident}.pam"), "wb") as f:
                f.write(f"P7\nWIDTH {c.w}\nHEIGHT {c.h}\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n".encode())
                for i, p in enumerate(c.px):
                    f.write(bytes((p[0], p[1], p[2], mask[i] if mask is not None else p[3])))
    parts.append("}  // namespace\n\n")
    parts.append("const StoredBitmap kStoredBitmaps[] = {\n" + "".join(table) + "};\n")
    parts.append(f"const int kStoredBitmapCount = {len(table)};\n")
    tmp = out_cpp + ".tmp"
    with open(tmp, "w", encoding="ascii") as f:
        f.write("".join(parts))
    os.replace(tmp, out_cpp)


if __name__ == "__main__":
    main()
