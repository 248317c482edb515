#!/usr/bin/env python3
"""Reads a FITS file's world coordinate system with astropy and prints, for each pixel given (FITS
pixels, the first is 1), one line "ra dec" in degrees; then a line "crpix x y", a line "scale s"
(arcseconds per pixel) of the system in force and a line "sip a ap" with the orders of its forward
and inverse SIP polynomials (0 without them).

Usage: wcs_pixels_to_sky.py FILE [--core] [--sky] [--strict] [--centre X Y] X Y [X Y ...]
--core        leaves out distortion terms (SIP and the like): the bare projection.
--sky         the pairs given are sky positions "ra dec" and the lines printed their pixels "x y", by
              the bare projection and then the inverse SIP polynomials (AP, BP) when there are any.
--strict      any warning or message of astropy about the header ends the script, with status 2 for
              a message (such as SIP terms without a -SIP projection); a header of no data may
              still have more axes than its image.
--centre X Y  moves the tangent point to pixel (X, Y), keeping the sky there and the CD matrix: the
              same camera with its optical axis on that pixel.
"""
import sys
import warnings

from astropy import log
from astropy.io import fits
from astropy.utils.exceptions import AstropyWarning
from astropy.wcs import WCS
from astropy.wcs.utils import proj_plane_pixel_scales


def read(path, strict):
    if not strict:
        warnings.simplefilter("ignore", AstropyWarning)
        with fits.open(path) as hdus:
            return WCS(hdus[0].header)
    warnings.simplefilter("error")
    # A header of no data (the .wcs beside an image) always has more axes than its image.
    warnings.filterwarnings("ignore", message="The WCS transformation has more axes")
    with log.log_to_list() as messages:
        with fits.open(path) as hdus:
            wcs = WCS(hdus[0].header)
    if messages:
        sys.stderr.write("astropy: " + " | ".join(str(m.msg).strip() for m in messages) + "\n")
        sys.exit(2)
    return wcs


def main(argv):
    path, args = argv[1], argv[2:]
    core, sky, strict, centre = False, False, False, None
    while args and args[0].startswith("--"):
        if args[0] == "--core":
            core, args = True, args[1:]
        elif args[0] == "--sky":
            sky, args = True, args[1:]
        elif args[0] == "--strict":
            strict, args = True, args[1:]
        else:
            centre, args = [float(args[1]), float(args[2])], args[3:]
    wcs = read(path, strict)
    if centre:
        wcs.wcs.crval = wcs.wcs_pix2world([centre], 1)[0]
        wcs.wcs.crpix = centre
    pairs = [[float(args[i]), float(args[i + 1])] for i in range(0, len(args), 2)]
    if not pairs:
        results = []
    elif sky:
        plain = wcs.wcs_world2pix(pairs, 1)
        # astropy's focal plane coordinates are offsets from the reference pixel.
        use_sip = not core and wcs.sip is not None
        results = wcs.sip_foc2pix(plain - wcs.wcs.crpix, 1) if use_sip else plain
    else:
        results = (wcs.wcs_pix2world if core else wcs.all_pix2world)(pairs, 1)
    for a, b in results:
        print(repr(float(a)), repr(float(b)))
    print("crpix", repr(float(wcs.wcs.crpix[0])), repr(float(wcs.wcs.crpix[1])))
    print("scale", repr(float(proj_plane_pixel_scales(wcs)[1] * 3600)))
    orders = (wcs.sip.a_order, wcs.sip.ap_order) if wcs.sip is not None else (0, 0)
    print("sip", *orders)


if __name__ == "__main__":
    main(sys.argv)
