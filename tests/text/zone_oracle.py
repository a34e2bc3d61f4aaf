"""What python's zoneinfo says of time zones, one line each, for the zone tests:
  dst ZONE YEAR sY sM sD sh sm eY eM eD eh em   daylight-saving start and end in UTC
                                                (zeros in a year without)
  u2l ZONE y M d h m  y M d h m                 UTC to local time
  l2u ZONE y M d h m  y M d h m                 local to UTC (fold 0: a repeated
                                                time reads with the offset before
                                                the change)
  l2g ZONE y M d h m  y M d h m  y M d h m      the same for a local time that a
                                                change skips: with the offset
                                                before the change, then after it
Usage: zone_oracle.py [--out FILE] ZONE..."""
import datetime as dt
import sys
import zoneinfo

U = dt.timezone.utc


def changes(tz, year):
    """The instants (UTC, to the minute) where daylight-saving time starts or ends."""
    t = dt.datetime(year, 1, 1, tzinfo=U) - dt.timedelta(days=1)
    end = dt.datetime(year + 1, 1, 1, tzinfo=U) + dt.timedelta(days=1)
    out = []
    prev = t.astimezone(tz).dst()
    while t < end:
        n = t + dt.timedelta(hours=6)   # changes are never closer than that
        if n.astimezone(tz).dst() != prev:
            lo, hi = t, n
            while hi - lo > dt.timedelta(minutes=1):
                mid = (lo + (hi - lo) / 2).replace(second=0, microsecond=0)
                if mid <= lo:
                    mid = lo + dt.timedelta(minutes=1)
                if mid.astimezone(tz).dst() == prev:
                    lo = mid
                else:
                    hi = mid
            out.append((hi, bool(hi.astimezone(tz).dst())))
            prev = n.astimezone(tz).dst()
        t = n
    return out


def lines(zone):
    tz = zoneinfo.ZoneInfo(zone)
    for year in range(2000, 2031):
        # A change belongs to the year of the local time just before it.
        def local_year(when):
            return (when - dt.timedelta(minutes=1)).astimezone(tz).year
        ch = changes(tz, year)
        start = [w for w, on in ch if on and local_year(w) == year]
        stop = [w for w, on in ch if not on and local_year(w) == year]
        if start and stop:
            s, e = start[0], stop[0]
            yield "dst %s %d %d %d %d %d %d %d %d %d %d %d" % (
                zone, year, s.year, s.month, s.day, s.hour, s.minute, e.year, e.month, e.day, e.hour, e.minute)
        else:
            yield "dst %s %d %s" % (zone, year, " ".join(["0"] * 10))
    t = dt.datetime(2019, 1, 1, tzinfo=U)
    while t.year < 2027:
        l = t.astimezone(tz)
        yield "u2l %s %d %d %d %d %d %d %d %d %d %d" % (
            zone, t.year, t.month, t.day, t.hour, t.minute, l.year, l.month, l.day, l.hour, l.minute)
        local = dt.datetime(t.year, t.month, t.day, t.hour, t.minute, tzinfo=tz)
        u = local.astimezone(U)
        if u.astimezone(tz).replace(tzinfo=None) == local.replace(tzinfo=None):
            yield "l2u %s %d %d %d %d %d %d %d %d %d %d" % (
                zone, t.year, t.month, t.day, t.hour, t.minute, u.year, u.month, u.day, u.hour, u.minute)
        else:
            a = local.replace(fold=1).astimezone(U)
            yield "l2g %s %d %d %d %d %d %d %d %d %d %d %d %d %d %d %d" % (
                zone, t.year, t.month, t.day, t.hour, t.minute, u.year, u.month, u.day, u.hour, u.minute,
                a.year, a.month, a.day, a.hour, a.minute)
        t += dt.timedelta(hours=7, minutes=13)


def main(argv):
    out = sys.stdout
    if len(argv) > 2 and argv[1] == "--out":
        out = open(argv[2], "w")
        argv = argv[2:]
    for zone in argv[1:]:
        for line in lines(zone):
            out.write(line + "\n")


if __name__ == "__main__":
    main(sys.argv)
