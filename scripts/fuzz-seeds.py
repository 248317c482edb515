#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets (fuzz/corpus/<target>/) from real files: the
validation images cut small, the files the program writes, and the first records of a database.

    scripts/fuzz-seeds.py VALIDATION_FOLDER DATABASE_FOLDER PARAM_TXT

Every seed is kept small so that the corpora stay a few hundred kilobytes in the repository."""
import io
import os
import struct
import subprocess
import sys


validation, database, param = sys.argv[1:4]
out = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "fuzz", "corpus")


def put(target, name, data):
    folder = os.path.join(out, target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data.encode("latin-1") if isinstance(data, str) else data)


def head(path, records, size):
    with open(path, "rb") as f:
        return f.read(records * size)


def magick(args):
    return subprocess.run(["convert"] + args, check=True, capture_output=True).stdout


# FITS: corners of the DSS plate under its own header, signed and unsigned by BZERO.
def fits_file(cards, width, height, rows):
    header = cards + [f"{'NAXIS1':8}= {width:20d}", f"{'NAXIS2':8}= {height:20d}", "END"]
    text = "".join(c.ljust(80)[:80] for c in header)
    text += " " * (-len(text) % 2880)
    data = b"".join(struct.pack(f">{width}h", *r) for r in rows)
    return text.encode("ascii") + data + b"\0" * (-len(data) % 2880)


with open(os.path.join(validation, "dss_horsehead.fits"), "rb") as f:
    raw = f.read()
cards, at = [], 0
while True:
    card = raw[at:at + 80].decode("ascii")
    at += 80
    if card.startswith("END"):
        break
    if not card.startswith(("NAXIS1", "NAXIS2")) and card.strip():
        cards.append(card)
data_at = (at + 2879) // 2880 * 2880
width = int([c for c in raw[:data_at].decode("ascii", "replace").split("NAXIS1  =")[1:]][0][:22])
plate = lambda y, x0, n: struct.unpack_from(f">{n}h", raw, data_at + 2 * (y * width + x0))
put("fuzz_fits", "dss-corner-48.fit", fits_file(cards, 48, 48, [plate(y, 0, 48) for y in range(48)]))
put("fuzz_fits", "dss-strip-96x8.fit", fits_file(cards, 96, 8, [plate(y, 200, 96) for y in range(100, 108)]))
unsigned = ["SIMPLE  =                    T", "BITPIX  =                   16", "NAXIS   =                    2",
            "BZERO   =                32768", "BSCALE  =                    1", "OBJCTRA = '05 40 59'",
            "OBJCTDEC= '-02 27 30'", "RA      =              85.2458", "DEC     =             -2.45833"]
put("fuzz_fits", "bzero-32768.fit", fits_file(unsigned, 32, 32, [[(v + 20000) % 65536 - 32768 for v in plate(y, 400, 32)]
                                                                  for y in range(400, 432)]))

# BMP and JPG: corners of two validation pictures in the kinds the readers know.
src = os.path.join(validation, "cam_orion_belt.jpg")
corner = ["-crop", "24x16+300+200", "+repage"]
for name, fmt in (("rgb24.bmp", ["-type", "truecolor", "BMP3:-"]), ("rgb32.bmp", ["-define", "bmp:format=bmp4", "-alpha", "on", "BMP:-"]),
                  ("pal8.bmp", ["-type", "palette", "BMP3:-"]), ("pal4.bmp", ["-colors", "16", "-type", "palette", "BMP3:-"]),
                  ("bw1.bmp", ["-monochrome", "BMP3:-"]), ("rle8.bmp", ["-type", "palette", "-compress", "RLE", "BMP3:-"]),
                  ("rgb565.bmp", ["-define", "bmp:subtype=RGB565", "BMP:-"])):
    put("fuzz_bmp", name, magick([src] + corner + fmt))
for name, args in (("colour.jpg", [src] + corner + ["-quality", "80", "JPG:-"]),
                   ("grey.jpg", [os.path.join(validation, "apod4_big_dipper.jpg"), "-crop", "32x24+100+100", "+repage",
                                 "-colorspace", "gray", "JPG:-"]),
                   ("progressive.jpg", [src] + corner + ["-interlace", "JPEG", "JPG:-"])):
    put("fuzz_jpg", name, magick(args))

# PNG and TIFF: the same corner in the sample depths and layouts the readers take apart.
rgb, grey = ["-type", "TrueColor"], ["-type", "Grayscale"]
for name, fmt in (("grey8.png", grey + ["-depth", "8", "PNG:-"]), ("palette.png", ["PNG8:-"]),
                  ("rgb8.png", rgb + ["PNG24:-"]),
                  ("grey16.png", grey + ["-depth", "16", "-define", "png:bit-depth=16", "-define", "png:color-type=0", "PNG:-"]),
                  ("rgba16.png", rgb + ["-alpha", "on", "PNG64:-"])):
    put("fuzz_png", name, magick([src] + corner + fmt))
for name, fmt in (("rgb8.tif", rgb + ["-depth", "8", "TIFF:-"]), ("grey16.tif", grey + ["-depth", "16", "TIFF:-"]),
                  ("rgb16-tiles.tif", rgb + ["-depth", "16", "-define", "tiff:tile-geometry=16x16", "TIFF:-"]),
                  ("lzw.tif", rgb + ["-depth", "8", "-compress", "LZW", "TIFF:-"])):
    put("fuzz_tiff", name, magick([src] + corner + fmt))

# param.txt as the program writes it, and a profile cut after its first ten parameters. Paths are
# replaced by ones of no machine, so that nothing a target does reaches this machine's folders.
text = b"".join(b"/home/observer/tornel/" + (b"\r\n" if line.endswith(b"\r\n") else b"\n") if line.startswith(b"/")
                else line for line in open(param, "rb").read().splitlines(True))
put("fuzz_param", "param.txt", text)
put("fuzz_param", "profile-short.txt", b"".join(text.splitlines(True)[:20]))

# Message files of the four kinds.
put("fuzz_message", "image.txt", "image file path\r\n/data/m42.fit\r\ncoordinates in the header\r\n0\r\nRA\r\n83,82\r\nDEC\r\n-5.39\r\n")
long_form = ["ruta del fichero imagen", "/data/m45.fit"] + ["label"] * 24
long_form[3], long_form[5], long_form[7], long_form[9], long_form[11], long_form[13] = "4", "56.75", "24.12", "2", "3", "1"
put("fuzz_message", "image-long.txt", "\r\n".join(long_form) + "\r\n")
put("fuzz_message", "parameters.txt", "parameters file path\r\n/tmp/param.txt\r\n")
put("fuzz_message", "commands.txt", "command file\r\nfree\r\nSET   skyZone\r\n4\r\nGET   language\r\n\r\nSET   arcSecPerPixel\r\n"
    "1,5\r\nSET   imageAngle\r\n-12.5\r\nEXE   mode\r\n5\r\n")
put("fuzz_message", "commands-es.txt", "fichero de comandos\nlibre\nSET   RAsearchingCentreInMessage  remark\n83.8\n"
    "SET   focalInPixels\n133928\nGET   lastImageType\n\nEXE   analyze\n\n")

# telescop.txt: ten setups of six lines.
put("fuzz_telescop", "telescop.txt", "".join(f"Telescope {k}\r\nC{k}-{k * 100}mm\r\narcsec/pixel\r\n{k * 0.75:.2f}\r\nangle\r\n{k * 3.5 - 20:.1f}\r\n"
                                             for k in range(1, 11)))

# The replies of the links: INDI as the telescope simulator sends it, Alpaca answers, chart and line service lines.
put("fuzz_indi", "simulator.xml", "\x20" + """<defSwitchVector device="Telescope Simulator" name="CONNECTION" label="Connection" group="Main Control" state="Idle" perm="rw" rule="OneOfMany" timeout="60" timestamp="2026-11-24T23:00:00">
    <defSwitch name="CONNECT" label="Connect">Off</defSwitch>
    <defSwitch name="DISCONNECT" label="Disconnect">On</defSwitch>
</defSwitchVector>
<defNumberVector device="Telescope Simulator" name="EQUATORIAL_EOD_COORD" label="Eq. Coordinates" group="Main Control" state="Ok" perm="rw" timeout="60">
    <defNumber name="RA" label="RA (hh:mm:ss)" format="%010.6m" min="0" max="24" step="0">5.5881</defNumber>
    <defNumber name="DEC" label="DEC (dd:mm:ss)" format="%010.6m" min="-90" max="90" step="0">-5.3911</defNumber>
</defNumberVector>
<setNumberVector device="Telescope Simulator" name="EQUATORIAL_EOD_COORD" state="Busy"><oneNumber name="RA">5.6</oneNumber></setNumberVector>
<message device="Telescope Simulator" timestamp="2026-11-24T23:00:01" message="Telescope is tracking."/>
<delProperty device="Telescope Simulator" name="CONNECTION"/>
""")
put("fuzz_alpaca", "value.json", "\x00" + '{"Value":5.58814,"ClientTransactionID":3,"ServerTransactionID":7,"ErrorNumber":0,"ErrorMessage":""}')
put("fuzz_alpaca", "error.json", "\x00" + '{"Value":false,"ErrorNumber":1035,"ErrorMessage":"Not tracking"}')
put("fuzz_alpaca", "devices.json", "\x00" + '{"Value":[{"DeviceName":"Simulator","DeviceType":"Telescope","DeviceNumber":0,"UniqueID":"x"},'
    '{"DeviceName":"Cam","DeviceType":"Camera","DeviceNumber":1}],"ErrorNumber":0}')
put("fuzz_alpaca", "discovery.json", "\x00" + '{"AlpacaPort":11111}')
put("fuzz_chart", "centre.txt", "OK! 5.58814\r\nOK! -5.39111\r\nOK! 1.5\r\n")
put("fuzz_chart", "label.txt", "RA:05h35m17.30s DEC:-05d23m28.0s FOV:+01d30m00s\r\nPOS    08380000    -00540000\r\nCEN    08380000    +00540000\r\nALI?\r\n")

# The database files: their first records, a pole file with three records a tile, and a small pattern index.
put("fuzz_stars", "est-100.bin", head(os.path.join(database, "est.bin"), 100, 12))
put("fuzz_regions", "region.bin", head(os.path.join(database, "region.bin"), 9537, 20))
put("fuzz_rings", "Ani090-300.bin", head(os.path.join(database, "Ani090.bin"), 300, 14))
put("fuzz_triangles", "tri2g02-200.bin", head(os.path.join(database, "tri2g02.bin"), 200, 24))
put("fuzz_objects", "pgc-100.bin", head(os.path.join(database, "pgc.bin"), 100, 38))
pole = open(os.path.join(database, "pole179.bin"), "rb").read()
bounds = [struct.unpack_from("<i", pole, i * 14)[0] for i in range(74)]
tiles, records = [], []
for t in range(37):
    first, last = bounds[2 * t], bounds[2 * t + 1]
    taken = [pole[(n - 1) * 14:n * 14] for n in range(first, min(last, first + 2) + 1)]
    tiles.append((75 + len(records), 75 + len(records) + len(taken) - 1))
    records += taken
head_bytes = b"".join(struct.pack("<iii", a, 0, 0) + b"\0\0" for pair in tiles for a in pair)
put("fuzz_pole", "pole179-small.bin", head_bytes + b"".join(records))

# quads.bin of one level: eight stars, two quads, the layout of catalogo/quad_index.h.
stars = [(83.0 + k * 0.1, -5.0 - k * 0.05, 5.0 + k * 0.2) for k in range(8)]
quads = [((20000, 30000, 40000, 25000), (0, 1, 2, 3)), ((35000, 12000, 30000, 45000), (4, 5, 6, 7))]
index = b"TQUADS03" + struct.pack("<IIQ", 1, len(stars), len(quads))
index += struct.pack("<ffQQQQ", 0.2, 2.0, len(quads), 0, len(stars), 0)
# The tree's first levels breadth first: the root is the second quad (the median by the first code
# value), the first its left child; the rest of the 8191 places are empty.
top = [quads[1][0], quads[0][0]] + [(0, 0, 0, 0)] * 8189
index += b"".join(struct.pack("<4H", *c) for c in top)
index += b"".join(struct.pack("<fff", *s) for s in stars)
index += b"".join(struct.pack("<4H", *c) for c, _ in quads)
index += b"".join(struct.pack("<4I", *m) for _, m in quads)
put("fuzz_quads", "one-level.bin", index)
