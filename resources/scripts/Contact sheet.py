#!/usr/bin/python3
# Lays the selected pictures out on A4 pages, twenty a page with their names, in a new PDF beside the first of them.
import datetime
import os
import subprocess
import sys

answer = subprocess.run(["tavlin-paths", "-0", sys.argv[1]], stdout=subprocess.PIPE, check=True)
paths = [os.fsdecode(path) for path in answer.stdout.split(b"\0")[:-1]]
if not paths:
    sys.exit(0)

try:
    from PIL import Image, ImageDraw, ImageFont, ImageOps
except ImportError:
    sys.exit("Contact sheet: needs Pillow, which is not installed; on Debian: apt install python3-pil")

DPI = 150
PAGE = (1240, 1754)  # A4 at 150 pixels an inch
COLUMNS, ROWS = 4, 5
MARGIN, GAP, CAPTION = 60, 20, 30
CELL = ((PAGE[0] - 2 * MARGIN + GAP) // COLUMNS - GAP, (PAGE[1] - 2 * MARGIN + GAP) // ROWS - GAP)

try:
    font = ImageFont.truetype("DejaVuSans.ttf", 18)
except OSError:
    font = ImageFont.load_default()


def shown_name(path):
    return os.fsencode(os.path.basename(path)).decode("utf-8", "replace").replace("\n", " ")


def caption(draw, name):
    """The name, its middle left out where it is too wide."""
    if draw.textlength(name, font) <= CELL[0]:
        return name
    keep = len(name)
    while keep > 2 and draw.textlength(name[: keep // 2] + "…" + name[-(keep // 2):], font) > CELL[0]:
        keep -= 1
    return name[: keep // 2] + "…" + name[-(keep // 2):]


status = 0
pages = []
for index, path in enumerate(paths):
    place = index % (COLUMNS * ROWS)
    if place == 0:
        pages.append(Image.new("RGB", PAGE, "white"))
    draw = ImageDraw.Draw(pages[-1])
    x = MARGIN + place % COLUMNS * (CELL[0] + GAP)
    y = MARGIN + place // COLUMNS * (CELL[1] + GAP)
    try:
        with Image.open(path) as picture:
            picture.draft("RGB", (CELL[0] * 2, CELL[1] * 2))
            picture = ImageOps.exif_transpose(picture)
            if picture.mode.startswith("I"):  # 16 bits of grey
                picture = picture.point(lambda level: level / 256).convert("L")
            see_through = "A" in picture.getbands() or "transparency" in picture.info
            if see_through:
                picture = Image.alpha_composite(
                    Image.new("RGBA", picture.size, "white"), picture.convert("RGBA"))
            picture = picture.convert("RGB")
            picture.thumbnail((CELL[0], CELL[1] - CAPTION), Image.LANCZOS)
            left, top = x + (CELL[0] - picture.width) // 2, y + (CELL[1] - CAPTION - picture.height) // 2
            pages[-1].paste(picture, (left, top))
            if see_through:  # or white drawn on nothing would be a blank cell
                draw.rectangle((left, top, left + picture.width - 1, top + picture.height - 1), outline="lightgray")
    except Exception as error:  # whatever a broken file makes of the loader
        draw.rectangle((x, y, x + CELL[0] - 1, y + CELL[1] - CAPTION - 1), outline="lightgray")
        print(f"Contact sheet: not shown: {shown_name(path)}: {error}", file=sys.stderr)
        status = 1
    name = caption(draw, shown_name(path))
    draw.text((x + (CELL[0] - draw.textlength(name, font)) / 2, y + CELL[1] - CAPTION + 6), name, "black", font)

stem = os.path.join(os.path.dirname(paths[0]), "Contact sheet " + datetime.date.today().isoformat())
number = 1
while True:
    try:
        with open(stem + (f" {number}" if number > 1 else "") + ".pdf", "xb") as target:
            pages[0].save(target, "PDF", resolution=DPI, save_all=True, append_images=pages[1:])
        break
    except FileExistsError:
        number += 1
sys.exit(status)
