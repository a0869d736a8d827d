"""The gallery's pictures: for each a function that draws it with Cairo, and the seed of its random numbers."""
import math

import cairo

WIDTH, HEIGHT = 1440, 1080


def rgb(text):
    text = text.lstrip("#")
    return tuple(int(text[i:i + 2], 16) / 255 for i in (0, 2, 4))


def vertical(ctx, height, stops, width=WIDTH):
    gradient = cairo.LinearGradient(0, 0, 0, height)
    for at, color in stops:
        gradient.add_color_stop_rgb(at, *rgb(color))
    ctx.set_source(gradient)
    ctx.rectangle(0, 0, width, height)
    ctx.fill()


def grain(ctx, rng, count=9000, width=WIDTH, height=HEIGHT):
    """A little paper grain, so that flat areas do not look printed by a machine."""
    for _ in range(count):
        shade = rng.random()
        ctx.set_source_rgba(shade, shade, shade, 0.045)
        ctx.rectangle(rng.random() * width, rng.random() * height, 2, 2)
        ctx.fill()


def tidal_study(ctx, rng):
    vertical(ctx, HEIGHT, [(0, "#f6e7cf"), (0.35, "#f2c9a1"), (0.36, "#2f6f83"), (1, "#0b2a3b")])
    ctx.set_source_rgb(*rgb("#fff4dd"))
    ctx.arc(1010, 250, 95, 0, 2 * math.pi)
    ctx.fill()
    palette = ["#3f8798", "#337a8c", "#2b6b80", "#235b70", "#1c4c61", "#153d51", "#0f3042", "#0b2535"]
    for band, color in enumerate(palette):
        base = 390 + band * 84
        ctx.move_to(0, HEIGHT)
        phase = rng.random() * 6
        for x in range(0, WIDTH + 8, 8):
            y = base + 26 * math.sin(x / (150 - band * 8) + phase) + 11 * math.sin(x / 47 + phase * 2)
            ctx.line_to(x, y)
        ctx.line_to(WIDTH, HEIGHT)
        ctx.close_path()
        ctx.set_source_rgb(*rgb(color))
        ctx.fill_preserve()
        ctx.set_source_rgba(1, 1, 1, 0.22)
        ctx.set_line_width(2.5)
        ctx.stroke()


def night_harbour(ctx, rng):
    vertical(ctx, HEIGHT, [(0, "#0a1030"), (0.5, "#2a2a5c"), (0.62, "#6a4a72"), (0.63, "#15193f"), (1, "#070a20")])
    for _ in range(260):
        ctx.set_source_rgba(1, 1, 1, rng.uniform(0.2, 0.9))
        ctx.arc(rng.random() * WIDTH, rng.random() * 560, rng.uniform(0.6, 2.0), 0, 7)
        ctx.fill()
    x = 0
    while x < WIDTH:
        width = rng.uniform(50, 140)
        height = rng.uniform(60, 260)
        ctx.set_source_rgb(*rgb("#101336"))
        ctx.rectangle(x, 680 - height, width, height)
        ctx.fill()
        for column in range(int(width // 22)):
            for row in range(int(height // 30)):
                if rng.random() < 0.34:
                    wx, wy = x + 8 + column * 22, 680 - height + 12 + row * 30
                    color = rgb(rng.choice(["#ffd58a", "#ffb55e", "#fff0c4"]))
                    ctx.set_source_rgb(*color)
                    ctx.rectangle(wx, wy, 9, 13)
                    ctx.fill()
                    streak = cairo.LinearGradient(0, 700, 0, 1000)
                    streak.add_color_stop_rgba(0, *color, 0.26)
                    streak.add_color_stop_rgba(1, *color, 0)
                    ctx.set_source(streak)
                    ctx.rectangle(wx - 1, 690 + rng.random() * 26, 11, rng.uniform(90, 300))
                    ctx.fill()
        x += width + rng.uniform(-6, 18)


def orchard_in_rows(ctx, rng):
    vertical(ctx, HEIGHT, [(0, "#dcebf2"), (0.3, "#f7f1dc"), (0.31, "#c5c56a"), (1, "#6f8a3c")])
    for row in range(11):
        depth = row / 10
        y = 350 + depth ** 1.7 * 700
        size = 16 + depth ** 1.5 * 96
        offset = rng.random() * size
        count = int(WIDTH / (size * 1.9)) + 3
        for i in range(count):
            x = (i - 1) * size * 1.9 + offset
            ctx.set_source_rgba(0.16, 0.22, 0.08, 0.35)
            ctx.save()
            ctx.translate(x + size * 0.35, y + size * 0.95)
            ctx.scale(1, 0.24)
            ctx.arc(0, 0, size * 0.85, 0, 7)
            ctx.restore()
            ctx.fill()
            ctx.set_source_rgb(*rgb("#5b4630"))
            ctx.rectangle(x - size * 0.06, y + size * 0.3, size * 0.12, size * 0.65)
            ctx.fill()
            for _ in range(16):
                green = rgb(rng.choice(["#4d7a35", "#5e8f3f", "#7aa64b", "#3f6a34"]))
                ctx.set_source_rgb(*green)
                ctx.arc(x + rng.gauss(0, size * 0.27), y + rng.gauss(0, size * 0.22), size * rng.uniform(0.16, 0.3), 0, 7)
                ctx.fill()
            for _ in range(5):
                ctx.set_source_rgb(*rgb(rng.choice(["#d8452e", "#e8693a", "#c23028"])))
                ctx.arc(x + rng.gauss(0, size * 0.3), y + rng.gauss(0, size * 0.22), max(1.4, size * 0.05), 0, 7)
                ctx.fill()


def basalt(ctx, rng):
    ctx.set_source_rgb(*rgb("#1d2023"))
    ctx.paint()
    side = 74
    step_x, step_y = side * math.sqrt(3), side * 1.5
    for row in range(-1, int(HEIGHT / step_y) + 2):
        for column in range(-1, int(WIDTH / step_x) + 2):
            cx = column * step_x + (step_x / 2 if row % 2 else 0) + rng.gauss(0, 3)
            cy = row * step_y + rng.gauss(0, 3)
            wave = 0.5 + 0.5 * math.sin(cx / 260 + 1.3 * math.cos(cy / 210))
            level = 0.16 + 0.42 * wave + rng.uniform(-0.05, 0.05)
            points = [(cx + (side - 3) * math.sin(math.pi / 3 * k), cy + (side - 3) * math.cos(math.pi / 3 * k))
                      for k in range(6)]
            ctx.move_to(*points[0])
            for point in points[1:]:
                ctx.line_to(*point)
            ctx.close_path()
            face = cairo.LinearGradient(cx - side, cy - side, cx + side, cy + side)
            face.add_color_stop_rgb(0, level * 1.12, level * 1.13, level * 1.10)
            face.add_color_stop_rgb(1, level * 0.62, level * 0.66, level * 0.70)
            ctx.set_source(face)
            ctx.fill()
            if wave > 0.86 and rng.random() < 0.6:
                ctx.set_source_rgba(*rgb("#9fb84f"), 0.5)
                for _ in range(24):
                    ctx.arc(cx + rng.gauss(0, 20), cy + rng.gauss(0, 20), rng.uniform(1.5, 6), 0, 7)
                    ctx.fill()


def paper_moons(ctx, rng):
    vertical(ctx, HEIGHT, [(0, "#efe6da"), (1, "#e2d3c3")])
    colors = ["#d9694a", "#e8b44c", "#2f4858", "#86a6a1", "#f3efe6", "#b8403f", "#4f6d7a"]
    placed = []
    for _ in range(2600):
        radius = rng.choice([150, 110, 80, 56, 40, 26])
        x, y = rng.uniform(60, WIDTH - 60), rng.uniform(60, HEIGHT - 60)
        if any((x - a) ** 2 + (y - b) ** 2 < (radius + c + 10) ** 2 for a, b, c in placed):
            continue
        placed.append((x, y, radius))
        ctx.set_source_rgba(0.2, 0.12, 0.08, 0.18)
        ctx.arc(x + 7, y + 10, radius, 0, 7)
        ctx.fill()
        first, second = rng.sample(colors, 2)
        ctx.set_source_rgb(*rgb(first))
        ctx.arc(x, y, radius, 0, 7)
        ctx.fill()
        ctx.save()
        ctx.arc(x, y, radius, 0, 7)
        ctx.clip()
        angle = rng.random() * 7
        shift = radius * rng.uniform(0.35, 0.9)
        ctx.set_source_rgb(*rgb(second))
        ctx.arc(x + shift * math.cos(angle), y + shift * math.sin(angle), radius, 0, 7)
        ctx.fill()
        ctx.restore()


def field_lines(ctx, rng):
    ctx.set_source_rgb(*rgb("#14202b"))
    ctx.paint()
    poles = [(360, 420, 1.0), (1080, 300, -1.0), (760, 830, 0.8), (1240, 860, -0.7)]
    colors = ["#f2a65a", "#f58549", "#eec170", "#7fb7be", "#dacc3e", "#f2f3ae"]
    ctx.set_line_width(2.2)
    ctx.set_line_cap(cairo.LINE_CAP_ROUND)
    for _ in range(900):
        x, y = rng.random() * WIDTH, rng.random() * HEIGHT
        ctx.set_source_rgba(*rgb(rng.choice(colors)), 0.55)
        ctx.move_to(x, y)
        for _ in range(70):
            vx = vy = 0.0
            for px, py, charge in poles:
                dx, dy = x - px, y - py
                square = dx * dx + dy * dy + 900
                vx += charge * dx / square
                vy += charge * dy / square
            length = math.hypot(vx, vy) or 1
            x += 5 * vx / length
            y += 5 * vy / length
            ctx.line_to(x, y)
        ctx.stroke()


def terraces(ctx, rng):
    vertical(ctx, HEIGHT, [(0, "#f7d9c4"), (1, "#f2c6a0")])
    colors = ["#e9a178", "#dd8a66", "#c66f5b", "#a8574f", "#864347", "#64333f", "#452638", "#2c1b2e"]
    for layer, color in enumerate(colors):
        ctx.move_to(0, HEIGHT)
        y = 230 + layer * 105
        x = 0
        while x <= WIDTH:
            ctx.line_to(x, y)
            x += rng.uniform(40, 130)
            ctx.line_to(x, y)
            y = max(180 + layer * 92, min(300 + layer * 112, y + rng.uniform(-58, 58)))
        ctx.line_to(WIDTH, HEIGHT)
        ctx.close_path()
        ctx.set_source_rgb(*rgb(color))
        ctx.fill()
    ctx.set_source_rgba(1, 0.96, 0.86, 0.9)
    ctx.arc(320, 180, 70, 0, 7)
    ctx.fill()


PICTURES = {
    "tidal-study": (tidal_study, 11),
    "night-harbour": (night_harbour, 12),
    "orchard-in-rows": (orchard_in_rows, 13),
    "basalt": (basalt, 14),
    "paper-moons": (paper_moons, 15),
    "field-lines": (field_lines, 16),
    "terraces": (terraces, 17),
}
