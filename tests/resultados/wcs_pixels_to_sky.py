#!/usr/bin/env python3
"""Reads a FITS file's world coordinate system with astropy and prints, for each pixel given (FITS
pixels, the first is 1), one line "ra dec" in degrees; then a line "crpix x y" and a line
"scale s" (arcseconds per pixel) of the system in force.

Usage: wcs_pixels_to_sky.py FILE [--core] [--centre X Y] X Y [X Y ...]
--core        leaves out distortion terms (SIP and the like): the bare projection.
--centre X Y  moves the tangent point to pixel (X, Y), keeping the sky there and the CD matrix: the
              same camera with its optical axis on that pixel.
"""
import sys
import warnings

from astropy.io import fits
from astropy.utils.exceptions import AstropyWarning
from astropy.wcs import WCS
from astropy.wcs.utils import proj_plane_pixel_scales

warnings.simplefilter("ignore", AstropyWarning)


def main(argv):
    path, args = argv[1], argv[2:]
    core, centre = False, None
    while args and args[0].startswith("--"):
        if args[0] == "--core":
            core, args = True, args[1:]
        else:
            centre, args = [float(args[1]), float(args[2])], args[3:]
    with fits.open(path) as hdus:
        wcs = WCS(hdus[0].header)
    if centre:
        wcs.wcs.crval = wcs.wcs_pix2world([centre], 1)[0]
        wcs.wcs.crpix = centre
    pixels = [[float(args[i]), float(args[i + 1])] for i in range(0, len(args), 2)]
    convert = wcs.wcs_pix2world if core else wcs.all_pix2world
    for ra, dec in convert(pixels, 1):
        print(repr(float(ra)), repr(float(dec)))
    print("crpix", repr(float(wcs.wcs.crpix[0])), repr(float(wcs.wcs.crpix[1])))
    print("scale", repr(float(proj_plane_pixel_scales(wcs)[1] * 3600)))


if __name__ == "__main__":
    main(sys.argv)
