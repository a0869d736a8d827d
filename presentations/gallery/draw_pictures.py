#!/usr/bin/python3
"""Draws the gallery's pictures, document covers and documents into media/ (needs Debian's python3-cairo).

usage: draw_pictures.py [--out DIR]

Every picture comes from a fixed seed, so that drawing again gives the same files.
"""
import argparse
import math
import os
import random

import cairo

from pictures import HEIGHT, PICTURES, WIDTH, grain, rgb


def text_lines(ctx, x, y, lines, size, color, leading=1.35, bold=False):
    ctx.select_font_face("Inter", cairo.FONT_SLANT_NORMAL, cairo.FONT_WEIGHT_BOLD if bold else cairo.FONT_WEIGHT_NORMAL)
    ctx.set_font_size(size)
    ctx.set_source_rgb(*rgb(color))
    for line in lines:
        ctx.move_to(x, y)
        ctx.show_text(line)
        y += size * leading
    return y


def cover(ctx, title, subtitle, ground, accent):
    width, height = 900, 1200
    ctx.set_source_rgb(*rgb(ground))
    ctx.paint()
    for ring in range(16):
        ctx.set_source_rgba(*rgb(accent), 0.95 - ring * 0.055)
        ctx.set_line_width(13)
        ctx.arc(width * 0.72, height * 0.42, 46 + ring * 34, 0, 7)
        ctx.stroke()
    ctx.set_source_rgb(*rgb(ground))
    ctx.rectangle(0, height * 0.72, width, height * 0.28)
    ctx.fill()
    text_lines(ctx, 70, height * 0.80, title, 74, "#ffffff", 1.12, True)
    text_lines(ctx, 70, height * 0.80 + 74 * 1.12 * len(title) + 10, [subtitle], 32, accent)


DOCUMENTS = {
    "guide": (["The Small", "Museum"], "A guide in twelve pictures", "#1f3a4d", "#f2c078",
              ["How to read this guide", "",
               "Begin anywhere. Each picture stands for itself, and every room of",
               "the museum leads back to the table in the middle.", "",
               "1  Tidal study      water, seen from a low wall",
               "2  Night harbour    eleven ships are coming in",
               "3  Orchard in rows  late September",
               "4  Basalt           columns, as they cooled"]),
    "making-of-basalt": (["Making", "Basalt"], "Notes from the workshop", "#2a2d30", "#a9bf60",
                         ["Six sides, again and again", "",
                          "Lava that cools slowly shrinks, and shrinking breaks it into columns.",
                          "Most of them have six sides, because six needs the least seam.", "",
                          "The picture was drawn by rule and then disturbed by hand: every",
                          "column has moved a little, and moss has been let in where the",
                          "light falls."]),
}


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--out", default=os.path.join(here, "media"), help="folder to write to (default: media beside this script)")
    out = parser.parse_args().out
    os.makedirs(out, exist_ok=True)

    for name, (draw, seed) in PICTURES.items():
        surface = cairo.ImageSurface(cairo.FORMAT_RGB24, WIDTH, HEIGHT)
        ctx = cairo.Context(surface)
        rng = random.Random(seed)
        draw(ctx, rng)
        grain(ctx, rng)
        surface.write_to_png(os.path.join(out, name + ".png"))

    for name, (title, subtitle, ground, accent, page) in DOCUMENTS.items():
        surface = cairo.ImageSurface(cairo.FORMAT_RGB24, 900, 1200)
        cover(cairo.Context(surface), title, subtitle, ground, accent)
        surface.write_to_png(os.path.join(out, name + "-cover.png"))
        pdf = cairo.PDFSurface(os.path.join(out, name + ".pdf"), 900, 1200)
        pdf.set_metadata(cairo.PDF_METADATA_TITLE, " ".join(title))
        pdf.set_metadata(cairo.PDF_METADATA_CREATE_DATE, "2026-11-20T12:00:00")
        ctx = cairo.Context(pdf)
        cover(ctx, title, subtitle, ground, accent)
        ctx.show_page()
        y = text_lines(ctx, 90, 170, page[:1], 44, ground, 1.5, True)
        text_lines(ctx, 90, y + 10, page[1:], 24, "#30343a", 1.6)
        ctx.show_page()
        pdf.finish()

    # The table's ground: dark felt with a faint weave.
    rng = random.Random(21)
    surface = cairo.ImageSurface(cairo.FORMAT_RGB24, 256, 256)
    ctx = cairo.Context(surface)
    ctx.set_source_rgb(*rgb("#1b2430"))
    ctx.paint()
    for _ in range(5200):
        ctx.set_source_rgba(1, 1, 1, rng.uniform(0.0, 0.028))
        ctx.rectangle(rng.randrange(256), rng.randrange(256), rng.choice([1, 2]), 1)
        ctx.fill()
    surface.write_to_png(os.path.join(out, "ground.png"))

    draw_signs(out)


def sign(out, name, size, draw):
    surface = cairo.ImageSurface(cairo.FORMAT_ARGB32, size, size)
    ctx = cairo.Context(surface)
    ctx.set_line_cap(cairo.LINE_CAP_ROUND)
    ctx.set_line_join(cairo.LINE_JOIN_ROUND)
    draw(ctx, size)
    surface.write_to_png(os.path.join(out, name + ".png"))


def draw_signs(out):
    """Signs that differ in shape as well as colour: a tick in a disc, a cross in a rhomb, three dots."""
    def disc(ctx, size, color):
        ctx.set_source_rgb(*rgb(color))
        ctx.arc(size / 2, size / 2, size * 0.46, 0, 7)
        ctx.fill()

    def uploaded(ctx, size):
        disc(ctx, size, "#ffffff")
        ctx.set_source_rgb(*rgb("#1f8a5b"))
        ctx.arc(size / 2, size / 2, size * 0.40, 0, 7)
        ctx.fill()
        ctx.set_source_rgb(1, 1, 1)
        ctx.set_line_width(size * 0.10)
        ctx.move_to(size * 0.30, size * 0.52)
        ctx.line_to(size * 0.44, size * 0.66)
        ctx.line_to(size * 0.71, size * 0.36)
        ctx.stroke()

    def failed(ctx, size):
        for half, color in ((0.48, "#ffffff"), (0.41, "#c4372e")):
            ctx.set_source_rgb(*rgb(color))
            ctx.move_to(size / 2, size * (0.5 - half))
            ctx.line_to(size * (0.5 + half), size / 2)
            ctx.line_to(size / 2, size * (0.5 + half))
            ctx.line_to(size * (0.5 - half), size / 2)
            ctx.close_path()
            ctx.fill()
        ctx.set_source_rgb(1, 1, 1)
        ctx.set_line_width(size * 0.09)
        for sx in (1, -1):
            ctx.move_to(size * (0.5 - 0.13 * sx), size * 0.37)
            ctx.line_to(size * (0.5 + 0.13 * sx), size * 0.63)
            ctx.stroke()

    def waiting(ctx, size):
        disc(ctx, size, "#ffffff")
        ctx.set_source_rgb(*rgb("#5b6775"))
        for k in (-1, 0, 1):
            ctx.arc(size * (0.5 + 0.19 * k), size / 2, size * 0.07, 0, 7)
            ctx.fill()

    def envelope(ctx, size):
        ctx.set_source_rgb(*rgb("#f4ead8"))
        ctx.rectangle(size * 0.08, size * 0.2, size * 0.84, size * 0.6)
        ctx.fill()
        ctx.set_source_rgb(*rgb("#b08d57"))
        ctx.set_line_width(size * 0.045)
        ctx.rectangle(size * 0.08, size * 0.2, size * 0.84, size * 0.6)
        ctx.stroke()
        ctx.move_to(size * 0.08, size * 0.22)
        ctx.line_to(size * 0.5, size * 0.56)
        ctx.line_to(size * 0.92, size * 0.22)
        ctx.stroke()

    def question(ctx, size):
        disc(ctx, size, "#2f4858")
        ctx.select_font_face("Inter", cairo.FONT_SLANT_NORMAL, cairo.FONT_WEIGHT_BOLD)
        ctx.set_font_size(size * 0.62)
        extents = ctx.text_extents("?")
        ctx.set_source_rgb(1, 1, 1)
        ctx.move_to(size / 2 - extents.width / 2 - extents.x_bearing, size / 2 - extents.height / 2 - extents.y_bearing)
        ctx.show_text("?")

    def drop(ctx, size):
        disc(ctx, size, "#ffffff")
        ctx.set_source_rgb(*rgb("#d9694a"))
        ctx.set_line_width(size * 0.05)
        ctx.arc(size / 2, size / 2, size * 0.43, 0, 7)
        ctx.stroke()
        ctx.set_line_width(size * 0.09)
        ctx.move_to(size / 2, size * 0.26)
        ctx.line_to(size / 2, size * 0.68)
        ctx.stroke()
        ctx.move_to(size * 0.32, size * 0.52)
        ctx.line_to(size / 2, size * 0.70)
        ctx.line_to(size * 0.68, size * 0.52)
        ctx.stroke()

    for name, draw in (("sign-uploaded", uploaded), ("sign-failed", failed), ("sign-waiting", waiting),
                       ("envelope", envelope), ("help", question), ("drop", drop)):
        sign(out, name, 192, draw)


if __name__ == "__main__":
    main()
