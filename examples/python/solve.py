#!/usr/bin/python3
"""Solves an image through Tornel's automation object on the session bus (python3-dbus, python3-gi).

The analysis is launched and the script waits for JobDone, printing SpentTime as it comes; Ctrl-C
asks Tornel to stop. The first call starts tornel-cli when no Tornel runs.
Usage: solve.py IMAGE ARCSEC_PER_PIXEL RA_HOURS DEC_DEGREES (no arguments: the sample field of
scripts/solve-sample.sh, around a position a degree away).
"""
import os
import sys

import dbus
import dbus.mainloop.glib
from gi.repository import GLib

IFACE = "org.tornel.ImageSolver1"


def main(argv):
    image = argv[1] if len(argv) > 1 else os.path.abspath("build/sample/pleiades.fit")
    scale, ra_hours, dec = (float(a) for a in (argv[2:5] if len(argv) > 4 else ("1.5401", "3.8333", "23.5")))

    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    solver = bus.get_object("org.tornel.ImageSolver", "/org/tornel/ImageSolver")
    props = dbus.Interface(solver, dbus.PROPERTIES_IFACE)
    try:
        props.Set(IFACE, "ImagePath", image)
        props.Set(IFACE, "ArcSecPerPixel", dbus.Double(scale))
        props.Set(IFACE, "EstimatedRA", dbus.Double(ra_hours))
        props.Set(IFACE, "EstimatedDEC", dbus.Double(dec))
    except dbus.exceptions.DBusException as refusal:
        # org.tornel.ImageSolver1.Error, " Error 101: EstimatedRA: value out of range"
        print(refusal.get_dbus_name(), refusal.get_dbus_message(), file=sys.stderr)
        return 2

    loop = GLib.MainLoop()
    bus.add_signal_receiver(lambda seconds: print(f"{int(seconds)} s"), signal_name="SpentTime",
                            dbus_interface=IFACE)
    bus.add_signal_receiver(loop.quit, signal_name="JobDone", dbus_interface=IFACE)
    solver.LaunchAnalysis(dbus_interface=IFACE)
    try:
        loop.run()
    except KeyboardInterrupt:
        solver.StopAnalyzing(dbus_interface=IFACE)
        loop.run()

    if not props.Get(IFACE, "Solved"):
        print("Not solved:", props.Get(IFACE, "FailureCause"))
        return 1
    print(f"Solved: RA {float(props.Get(IFACE, 'RightAscension')):.5f} h, "
          f"DEC {float(props.Get(IFACE, 'Declination')):.4f} degrees, {int(props.Get(IFACE, 'Sides'))} sides")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
