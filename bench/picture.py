"""One page of curves from what bench/curves has measured, drawn by gnuplot as SVG."""

import subprocess

from harness import BenchError

COLUMNS = 3
PAGE = """set terminal svg size 1260,{height} font "sans,13" background "white"
set output "{output}"
set multiplot layout {rows},{columns} title "{caption}" font "sans,13"
set logscale x 2
set grid
set key top left reverse Left samplen 2
set autoscale xfix
set yrange [0:*]
set offsets graph 0.03, graph 0.03, graph 0.3, 0
"""
PANEL = """set title "{name}"
set xlabel "{x}"
set ylabel "{y}"
set xtics ({tics})
plot {lines}
"""
# The floor is grey and dashed in every panel.
STYLES = ('lw 2 lc rgb "#1f5fa8" pt 7 ps 0.6', 'lw 2 lc rgb "#2f9e60" pt 5 ps 0.6')
FLOOR_STYLE = 'lw 2 dt 2 lc rgb "#707070" pt 9 ps 0.6'


def quoted(text):
    """As gnuplot takes it between double quotes; it reads a word with an underscore as a subscript."""
    return text.replace("\\", "\\\\").replace('"', '\\"').replace("_", "\\\\_")


def script(measured, output):
    """What gnuplot is told. Each series' points stand in it, so there is no other file."""
    curves = measured["curves"]
    rows = -(-len(curves) // COLUMNS)
    text = PAGE.format(height=60 + 370 * rows, output=output, rows=rows, columns=COLUMNS,
                       caption=quoted(measured["caption"]))
    for number, curve in enumerate(curves):
        styles = iter(STYLES)
        lines = []
        for column, series in enumerate(curve["series"], 1):
            points = "\n".join(f"{point[0]} {point[column]}" for point in curve["points"])
            text += f"$series_{number}_{column} << end\n{points}\nend\n"
            style = FLOOR_STYLE if series.startswith("floor") else next(styles)
            lines.append(f'$series_{number}_{column} with linespoints {style} title "{quoted(series)}"')
        text += PANEL.format(name=quoted(curve["name"]), x=quoted(curve["x"]), y=quoted(curve["y"]),
                             tics=", ".join(str(point[0]) for point in curve["points"]), lines=", ".join(lines))
    return text + "unset multiplot\n"


def draw(measured, output):
    done = subprocess.run(["gnuplot"], input=script(measured, output), capture_output=True, text=True, check=False)
    if done.returncode != 0 or done.stderr:
        raise BenchError(f"gnuplot: {done.stderr.strip()}")
