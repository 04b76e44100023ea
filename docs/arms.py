#!/usr/bin/env python3
"""Draws the arms and writes their tables for docs/kinematics.md, from the parameters in the library.

    arms.py LIBRARY           writes docs/arm-36.svg, -46, -47 and the tables of docs/kinematics.md
    arms.py LIBRARY --check   says whether they are what it would write, and whether the library computes as they say
"""
import ctypes
import math
import random
import re
import sys
from pathlib import Path

DOCS = Path(__file__).resolve().parent
library = ctypes.CDLL(sys.argv[1])


class Matrix(ctypes.Structure):
    _fields_ = [("rows", ctypes.c_int32), ("cols", ctypes.c_int32), ("data", ctypes.c_float * 4 * 4)]


library.Forward_Kinematics_e.restype = Matrix

# Per joint: alpha (degrees), a, d (names of the library's variables) and the angle that the joint angle is added to.
MODIFIED, STANDARD = "Craig 1986", "Denavit and Hartenberg 1955"
ARMS = {
    36: (MODIFIED, [(0, 0, "d1", -90), (90, "a2", 0, 90), (0, "a3", "d3", 90), (90, "a4", "d4", 0), (-90, 0, 0, 180),
                    (-90, 0, "lwt", 90)]),
    46: (MODIFIED, [(0, 0, "lsb", 0), (90, 0, 0, 90), (0, "lse", "d3", 90), (90, 0, "lew", 0), (-90, 0, 0, 0),
                    (90, 0, "lwt", 0)]),
    47: (STANDARD, [(-90, 0, "dbs", 0), (90, 0, 0, 0), (-90, 0, "dse", 0), (90, 0, "d4", 0), (-90, 0, "dew", 0),
                    (90, 0, 0, 0), (0, 0, "lwt", 0)]),
}
BENDING = {36: (2, 3, 5), 46: (2, 3, 5), 47: (2, 4, 6)}


def value(name):
    return round(ctypes.c_float.in_dll(library, name).value, 6) if name else 0.0


def product(a, b):
    return [[sum(a[i][k] * b[k][j] for k in range(4)) for j in range(4)] for i in range(4)]


def turn(axis, degrees):
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    return ([[1, 0, 0, 0], [0, c, -s, 0], [0, s, c, 0], [0, 0, 0, 1]] if axis == "x" else
            [[c, -s, 0, 0], [s, c, 0, 0], [0, 0, 1, 0], [0, 0, 0, 1]])


def shift(x, z):
    return [[1, 0, 0, x], [0, 1, 0, 0], [0, 0, 1, z], [0, 0, 0, 1]]


def walk(model, joints):
    """The places that a link passes, the joints' places and axes, and the flange."""
    convention, rows = ARMS[model]
    m = shift(0, 0)
    places, hinges = [m], []
    for (alpha, a, d, offset), joint in zip(rows, joints):
        before = [turn("x", alpha), shift(value(a), 0)] if convention == MODIFIED else []
        after = [] if convention == MODIFIED else [shift(value(a), 0), turn("x", alpha)]
        for step in before:
            m = product(m, step)
        places.append(m)
        along = product(m, shift(0, value(d)))
        # The joint is drawn where its axis meets the next link, except where the axis itself carries a long link.
        hinges.append((m, along))
        m = product(along, turn("z", offset + joint))
        places.append(m)
        for step in after:
            m = product(m, step)
    return places, hinges, m


def height(model):
    return round(SCALE * walk(model, [0] * 7)[2][2][3]) + 110


def agrees(model):
    rows = ARMS[model][1]
    for _ in range(20):
        joints = [random.uniform(-90, 90) for _ in rows]
        theta = (ctypes.c_float * 7)(*[joint + row[3] for joint, row in zip(joints, rows)])
        computed = library.Forward_Kinematics_e(model, theta)
        drawn = walk(model, joints)[2]
        if any(abs(computed.data[i][j] - drawn[i][j]) > 1e-5 for i in range(3) for j in range(4)):
            return False
    return True


SCALE = 520  # pixels per metre


class Drawing:
    """The arm in the plane in which it bends, seen along joint 2's axis."""

    def __init__(self, model, joints, left):
        self.ground, self.left, self.items = height(model) - 50, left, []
        places, hinges, flange = walk(model, joints)
        n = [hinges[1][0][i][2] for i in range(3)]  # joint 2's axis
        self.across = (n[1], -n[0]) if abs(n[1]) + abs(n[0]) else (1, 0)  # horizontal, in the plane
        if sum(self.across) < 0:
            self.across = (-self.across[0], -self.across[1])
        self.bends_left = self.flat(flange)[0] < left - 100
        line = [self.flat(m) for m in places] + [self.flat(flange)]
        self.path([p for i, p in enumerate(line) if i == 0 or p != line[i - 1]])
        x, y = self.flat(shift(0, 0))
        self.items.append(f'<path d="M{x - 45} {y}h90" class="ground"/>')
        for number, (begin, end) in enumerate(hinges, 1):
            self.joint(number, begin, end)
        self.axes(flange)

    def flat(self, m):
        u = m[0][3] * self.across[0] + m[1][3] * self.across[1]
        return round(self.left + SCALE * u, 1), round(self.ground - SCALE * m[2][3], 1)

    def direction(self, m, column):
        return (m[0][column] * self.across[0] + m[1][column] * self.across[1], -m[2][column])

    def path(self, points):
        self.items.append('<polyline points="' + " ".join(f"{x},{y}" for x, y in points) + '" class="link"/>')

    def joint(self, number, begin, end):
        u, v = self.direction(begin, 2)
        if math.hypot(u, v) < 0.5:  # seen along its axis
            x, y = self.flat(begin)
            towards = "dot" if self.towards_viewer(begin) else "cross"
            mark = (f'<circle cx="{x}" cy="{y}" r="3" class="dot"/>' if towards == "dot" else
                    f'<path d="M{x - 5} {y - 5}l10 10m0 -10l-10 10" class="axis"/>')
            self.items.append(f'<circle cx="{x}" cy="{y}" r="11" class="joint"/>{mark}')
            side = 1 if self.bends_left else -1
            self.label(x + 22 * side, y + 4, number, "start" if side > 0 else "end")
            return
        (x0, y0), (x1, y1) = self.flat(begin), self.flat(end)
        share = 0.5 if (x0, y0) != (x1, y1) else 0
        x, y = x0 + (x1 - x0) * share, y0 + (y1 - y0) * share
        if (x0, y0) == (x1, y1):  # no length of its own: beside the next joint
            x, y = x + 28 * u, y + 28 * v
        angle = math.degrees(math.atan2(v, u))
        self.items.append(f'<g transform="translate({x:.1f} {y:.1f}) rotate({angle:.1f})">'
                          '<rect x="-13" y="-8" width="26" height="16" rx="3" class="joint"/>'
                          '<path d="M-20 0h44l-6 -4m6 4l-6 4" class="axis"/></g>')
        self.label(x - 24 * v, y + 24 * u + 5, number, "middle")

    def towards_viewer(self, m):
        # The viewer looks along across x up; joint 2's axis is that direction or against it.
        view = (self.across[1], -self.across[0])
        return m[0][2] * view[0] + m[1][2] * view[1] > 0

    def label(self, x, y, number, anchor):
        self.items.append(f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}">{number}</text>')

    def axes(self, m):
        x, y = self.flat(m)
        for column, name in enumerate("xyz"):
            u, v = self.direction(m, column)
            if math.hypot(u, v) < 0.5:
                continue
            self.items.append(f'<path d="M{x} {y}l{40 * u:.1f} {40 * v:.1f}" class="{name}"/>'
                              f'<text x="{x + 50 * u:.1f}" y="{y + 50 * v + 4:.1f}" class="name" '
                              f'text-anchor="middle">{name}</text>')

    def caption(self, text):
        self.items.append(f'<text x="{self.left}" y="{self.ground + 38}" class="name" text-anchor="middle">{text}</text>')


def lengths(drawing, model):
    """Link lengths beside the upright arm."""
    places = walk(model, [0] * 7)[0]
    heights = []
    for m in places:
        h = round(m[2][3], 4)
        if all(abs(h - other) > 1e-4 for other in heights):
            heights.append(h)
    heights = sorted(heights + [round(walk(model, [0] * 7)[2][2][3], 4)])
    x = drawing.left - 120
    unique = [h for i, h in enumerate(heights) if i == 0 or h - heights[i - 1] > 1e-3]
    for low, high in zip(unique, unique[1:]):
        y0, y1 = drawing.ground - SCALE * low, drawing.ground - SCALE * high
        drawing.items.append(f'<path d="M{x - 5} {y0:.1f}h10M{x - 5} {y1:.1f}h10M{x} {y0:.1f}V{y1:.1f}" class="measure"/>'
                             f'<text x="{x - 8}" y="{(y0 + y1) / 2 + 4:.1f}" class="name" text-anchor="end">'
                             f'{1000 * (high - low):.1f}</text>')


def svg(model):
    count = len(ARMS[model][1])
    upright = Drawing(model, [0] * count, 230)
    upright.caption("all joints at 0; lengths in mm")
    lengths(upright, model)
    joints = [30 if j + 1 in BENDING[model] else 0 for j in range(count)]
    bent = Drawing(model, joints, 520)
    if bent.flat(walk(model, joints)[2])[0] < bent.left:  # it bends to the left: make room there
        bent = Drawing(model, joints, 720)
    bent.caption(f"joints {', '.join(map(str, BENDING[model]))} at +30 degrees")
    across = "x" if abs(upright.across[0]) > 0.5 else "y"
    ground = upright.ground
    base = (f'<path d="M20 {ground}h30" class="{across}"/><path d="M20 {ground}v-30" class="z"/>'
            f'<text x="56" y="{ground + 4}" class="name">{across}</text>'
            f'<text x="20" y="{ground - 36}" class="name" text-anchor="middle">z</text>'
            f'<text x="20" y="{ground + 20}" class="name" text-anchor="middle">base</text>')
    return f'''<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 860 {height(model)}" width="860" height="{height(model)}">
<title>Arm of model {model}: joints, their axes and zero positions</title>
<style>
text {{ font: 600 15px sans-serif; fill: #1f3a56 }} text.name {{ font-weight: 400; font-size: 13px; fill: #555 }}
.link {{ fill: none; stroke: #b9c7d5; stroke-width: 14; stroke-linejoin: round; stroke-linecap: round }}
.joint {{ fill: #fff; stroke: #1f3a56; stroke-width: 2 }} .dot {{ fill: #1f3a56 }}
.axis, .measure, .ground {{ fill: none; stroke: #1f3a56; stroke-width: 1.5 }} .measure {{ stroke: #888; stroke-width: 1 }}
.ground {{ stroke-width: 4 }} .x, .y, .z {{ stroke-width: 3; fill: none }}
.x {{ stroke: #c0392b }} .y {{ stroke: #27913d }} .z {{ stroke: #1c62a5 }}
</style>
<rect width="860" height="{height(model)}" fill="#fff"/>
{base}
{chr(10).join(upright.items + bent.items)}
</svg>
'''


def table(model):
    convention, rows = ARMS[model]
    lines = ["| joint | alpha, degrees | a, mm | d, mm | theta at joint angle 0, degrees | limits, degrees |",
             "|---|---|---|---|---|---|"]
    for number, (alpha, a, d, offset) in enumerate(rows, 1):
        named = [f"{1000 * value(name):g} (`{name}`)" if name else "0" for name in (a, d)]
        limits = f"{value(f'JOINT{number}_LOWER'):g} to {value(f'JOINT{number}_UPPER'):g}"
        lines.append(f"| {number} | {alpha} | {named[0]} | {named[1]} | {offset} | {limits} |")
    return "\n".join(lines)


page = DOCS / "kinematics.md"
written = {page: page.read_text()}
for model in ARMS:
    library.Init_Sys_Data(model)
    if not agrees(model):
        sys.exit(f"model {model}: the library computes otherwise")
    written[DOCS / f"arm-{model}.svg"] = svg(model)
    written[page] = re.sub(rf"(<!-- model {model}, written by arms.py -->\n\n)(\|.*\n)*",
                           lambda match: match[1] + table(model) + "\n", written[page])
stale = [path for path, text in written.items() if not path.exists() or path.read_text() != text]
if "--check" in sys.argv:
    sys.exit("to be written anew by docs/arms.py: " + ", ".join(map(str, stale)) if stale else 0)
for path in stale:
    path.write_text(written[path])
