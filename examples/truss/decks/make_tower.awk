# Writes the deck of a lattice tower: a square mast that narrows upwards, each
# bay with four legs, four girths, two diagonals a face and one across the plan.
#     awk -f make_tower.awk >tower.deck
# Node 10 LEVEL + CORNER, corners 1 to 4 around; level 0 is the ground.
function bar(a, b, area) { print "bar", ++bars, a, b, area }

BEGIN {
  bays = 120; rise = 1.5; foot = 6; top = 1  # metres; half widths
  print "# A lattice tower of " bays " bays, written by make_tower.awk. Units: newton, metre."
  print "# Loads: its weight, a wind askew, a cable's pull at the tip."
  print "title Lattice tower, 180 m (N, m)"
  print "material 210e9"
  for (level = 0; level <= bays; ++level) {
    half = foot + (top - foot) * level / bays
    for (corner = 1; corner <= 4; ++corner) {
      x = (corner == 1 || corner == 4) ? -half : half
      y = corner < 3 ? -half : half
      printf "node %d %.4f %.4f %.4f\n", 10 * level + corner, x, y, rise * level
    }
  }
  for (corner = 1; corner <= 4; ++corner) print "fix", corner, "xyz"
  for (level = 1; level <= bays; ++level) {
    up = 10 * level; low = up - 10
    leg = 0.016 - 0.012 * level / bays
    for (corner = 1; corner <= 4; ++corner) {
      next_corner = corner % 4 + 1
      bar(low + corner, up + corner, leg)
      bar(up + corner, up + next_corner, 0.0015)
      bar(low + corner, up + next_corner, 0.0012)
      bar(low + next_corner, up + corner, 0.0012)
      print "load", up + corner, 250, 120, -1200
    }
    bar(up + 1, up + 3, 0.0008)
  }
  print "load", 10 * bays + 1, -9000, 4000, -2500
}
