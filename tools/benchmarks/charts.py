"""Charts as SVG that stands in a page by itself."""
import html
import math

WIDTH = 560


def bar(value, target, met):
    """A value beside its target, which is a line at two thirds of the width; beyond one and a half targets the bar is cut."""
    scale = WIDTH * 2 / 3
    if target > 0:
        length = min(value / target * scale, WIDTH - 8)
        is_cut = value / target * scale > WIDTH - 8
    else:
        length, is_cut = (0, False) if value <= 0 else (WIDTH - 8, True)
    kind = {True: "met", False: "missed", None: "plain"}[met]
    cut = f'<path class="cut" d="M{length - 10:.0f} 0l5 14m2 -14l5 14"/>' if is_cut else ""
    return (f'<svg class="bar" viewBox="0 0 {WIDTH} 18" role="img" aria-label="{number(value)}, target {number(target)}">'
            f'<rect class="{kind}" x="0" y="2" width="{max(length, 2):.1f}" height="10" rx="2"/>{cut}'
            f'<path class="target" d="M{scale:.0f} 0v16"/></svg>')


def growth(points, lines, what):
    """Times over size, both axes logarithmic. `points`: [(size, counters)]; `lines`: {counter: caption}; `what` the size counts."""
    left, top, width, height = 70, 14, WIDTH - 90, 180
    values = [counters[name] for _, counters in points for name in lines if counters.get(name, 0) > 0]
    if not values:
        return ""
    low, high = math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))
    high = max(high, low + 1)
    sizes = [max(size, 0.5) for size, _ in points]
    first, last = math.log10(min(sizes)), math.log10(max(sizes))

    def x(size):
        return left + width * (math.log10(max(size, 0.5)) - first) / ((last - first) or 1)

    def y(value):
        return top + height * (1 - (math.log10(value) - low) / (high - low))

    parts = [f'<svg class="growth" viewBox="0 0 {WIDTH} {top + height + 40}" role="img" aria-label="growth over size">']
    for power in range(low, high + 1):
        parts.append(f'<path class="grid" d="M{left} {y(10 ** power):.1f}h{width}"/>'
                     f'<text x="{left - 8}" y="{y(10 ** power) + 4:.1f}" text-anchor="end">{nanoseconds(10 ** power)}</text>')
    for size, _ in points:
        parts.append(f'<text x="{x(size):.1f}" y="{top + height + 18}" text-anchor="middle">{size:,}</text>')
    parts.append(f'<text x="{left + width}" y="{top + height + 36}" text-anchor="end">{html.escape(what)}</text>')
    for index, (name, caption) in enumerate(lines.items()):
        dots = [(x(size), y(counters[name])) for size, counters in points if counters.get(name, 0) > 0]
        if not dots:
            continue
        path = " ".join(f"{'L' if i else 'M'}{dx:.1f} {dy:.1f}" for i, (dx, dy) in enumerate(dots))
        parts.append(f'<path class="line{index}" d="{path}"/>')
        parts += [f'<circle class="dot{index}" cx="{dx:.1f}" cy="{dy:.1f}" r="3.5"/>' for dx, dy in dots]
        parts.append(f'<text class="key{index}" x="{left + index * 100}" y="{top + height + 36}">● {html.escape(caption)}</text>')
    return "".join(parts) + "</svg>"


def number(value, more_digits=0):
    """Short, and never rounded to nothing."""
    if value == 0:
        return "0"
    if abs(value) >= 100 and more_digits == 0:
        return f"{value:,.0f}"
    digits = 2 if abs(value) >= 1 else 2 - math.floor(math.log10(abs(value)))
    text = f"{value:,.{min(digits + more_digits, 6)}f}"
    return text.rstrip("0").rstrip(".") if "." in text else text


def beside(value, target):
    """A value that is shown beside its target, with as many digits as it takes to see on which side it is."""
    if target is None or value == target:
        return number(value)
    return next((text for text in (number(value, more) for more in range(4)) if text != number(target)), number(value, 4))


def nanoseconds(value):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if value >= size:
            return f"{number(value / size)} {unit}"
    return f"{number(value)} ns"
