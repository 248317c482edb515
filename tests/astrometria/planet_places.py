"""Where astropy puts the seven planets, seen from the Earth's centre, on the equator and equinox of the
date: one line per instant given as YEAR MONTH DAY HOUR on the command line, seven RA DEC pairs in the
order Jupiter, Mars, Mercury, Neptune, Saturn, Uranus, Venus (degrees)."""
import sys

from astropy.coordinates import PrecessedGeocentric, get_body, solar_system_ephemeris
from astropy.time import Time
from astropy.utils import iers

iers.conf.auto_download = False  # the builtin tables are enough at this precision; no network

args = [float(a) for a in sys.argv[1:]]
instants = [args[k:k + 4] for k in range(0, len(args), 4)]
midnights = Time(['%04d-%02d-%02d' % (y, m, d) for y, m, d, _ in instants], scale='utc')
times = Time([t.jd + h / 24 for t, (_, _, _, h) in zip(midnights, instants)], format='jd', scale='utc')
rows = [[] for _ in instants]
with solar_system_ephemeris.set('builtin'):
    for name in ('jupiter', 'mars', 'mercury', 'neptune', 'saturn', 'uranus', 'venus'):
        for k, t in enumerate(times):
            c = get_body(name, t).transform_to(PrecessedGeocentric(equinox=t, obstime=t))
            rows[k] += [c.ra.deg, c.dec.deg]
for row in rows:
    print(' '.join('%.6f' % v for v in row))
