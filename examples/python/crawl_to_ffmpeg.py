#!/usr/bin/python3
"""Crawls a line of text across a picture and pipes the frames to ffmpeg.

    PYTHONPATH=<prefix>/lib/python3/dist-packages \\
        /usr/bin/python3 examples/python/crawl_to_ffmpeg.py --text "Hello" -o crawl.mp4

The text is drawn with a built-in 5 x 7 dot font (capitals, digits and common
punctuation) into a strip: one frame width of blank space, the text, another
frame width of blank space. Each frame crawls the strip at a sub-pixel
position over a dark band on the library's sample picture, with soft edges,
and goes to ffmpeg as raw BGRA.
"""

import argparse
import subprocess
import sys

import numpy as np

import flower

# Columns of each glyph, bit 0 at the top.
FONT = {
    " ": "0000000000", "!": "00005F0000", "'": "0005030000", ",": "0050300000",
    "-": "0808080808", ".": "0060600000", ":": "0036360000", "?": "0201510906",
    "0": "3E5149453E", "1": "00427F4000", "2": "4261514946", "3": "2141454B31",
    "4": "1814127F10", "5": "2745454539", "6": "3C4A494930", "7": "0171090503",
    "8": "3649494936", "9": "064949291E", "A": "7E1111117E", "B": "7F49494936",
    "C": "3E41414122", "D": "7F4141221C", "E": "7F49494941", "F": "7F09090101",
    "G": "3E41415132", "H": "7F0808087F", "I": "00417F4100", "J": "2040413F01",
    "K": "7F08142241", "L": "7F40404040", "M": "7F0204027F", "N": "7F0408107F",
    "O": "3E4141413E", "P": "7F09090906", "Q": "3E4151215E", "R": "7F09192946",
    "S": "4649494931", "T": "01017F0101", "U": "3F4040403F", "V": "1F2040201F",
    "W": "7F2018207F", "X": "6314081463", "Y": "0304780403", "Z": "6151494543",
}


def text_mask(text, dot):
    """The text as a 0/1 array, `dot` pixels per font dot, one dot of space
    between glyphs."""
    columns = []
    for char in text.upper():
        code = FONT.get(char, FONT["?"])
        columns += [int(code[i:i + 2], 16) for i in range(0, 10, 2)] + [0]
    bits = np.array([[(column >> row) & 1 for column in columns] for row in range(7)], np.uint8)
    return np.kron(bits, np.ones((dot, dot), np.uint8))


def text_strip(text, frame_width, dot):
    """A layer: blank, the white text with a soft shadow, blank."""
    mask = text_mask(text, dot)
    margin = dot
    height, width = mask.shape[0] + 2 * margin, mask.shape[1] + 2 * frame_width
    pixels = np.zeros((height, width, 4), np.uint8)
    pixels[margin:margin + mask.shape[0], frame_width:frame_width + mask.shape[1]] = \
        mask[:, :, None] * np.uint8(255)
    text = flower.Layer.from_array(pixels)
    shadow = text.duplicate().fade(160)
    shadow.array[:, :, :3] = 0
    return shadow.shift(dx=max(1, dot // 2), dy=max(1, dot // 2)).composite(text)


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--text", default="Flower crawls this line of text, frame by frame.")
    parser.add_argument("--size", default="640x360", help="WIDTHxHEIGHT (default 640x360)")
    parser.add_argument("--fps", type=int, default=25)
    parser.add_argument("--seconds", type=float, default=6.0)
    parser.add_argument("--speed", type=float, default=3.25,
                        help="pixels per frame; fractions crawl at sub-pixel positions")
    parser.add_argument("-o", "--output", required=True,
                        help="the file ffmpeg writes; its extension picks the format")
    arguments = parser.parse_args()
    try:
        width, height = (int(n) for n in arguments.size.lower().split("x"))
    except ValueError:
        parser.error("--size wants WIDTHxHEIGHT, not %r" % arguments.size)
    if not (16 <= width <= 8192 and 16 <= height <= 8192) or width % 2 or height % 2:
        parser.error("--size wants even sizes from 16 to 8192")
    if not 1 <= arguments.fps <= 240 or not 0 < arguments.seconds <= 3600:
        parser.error("--fps wants 1..240 and --seconds 0..3600")
    arguments.width, arguments.height = width, height
    return arguments


def main():
    arguments = parse_arguments()
    width, height = arguments.width, arguments.height
    dot = max(1, height // 60)
    strip = text_strip(arguments.text, width, dot)
    band = flower.Layer(width, strip.height + 2 * dot).fill(flower.pel(0, 0, 0, 150))
    band_top = height - band.height - 2 * dot
    background = flower.Layer.sample().resize(width, height)
    line = flower.Layer(width, strip.height)
    frame = flower.Layer(width, height)
    fade = width // 12
    command = ["ffmpeg", "-loglevel", "error", "-y", "-f", "rawvideo", "-pixel_format", "bgra",
               "-video_size", "%dx%d" % (width, height), "-framerate", str(arguments.fps),
               "-i", "-", "-pix_fmt", "yuv420p", arguments.output]
    try:
        encoder = subprocess.Popen(command, stdin=subprocess.PIPE)
    except OSError as error:
        sys.exit("crawl_to_ffmpeg: cannot run ffmpeg: %s" % error)
    period = strip.width - width
    position = 0.0
    try:
        for _ in range(round(arguments.seconds * arguments.fps)):
            line.crawl(strip, position % period, left_edge=fade, left_fade=fade,
                       right_edge=width - 1 - fade, right_fade=fade)
            frame.array[...] = background.array
            frame.composite(band, 0, band_top).composite(line, 0, band_top + dot)
            encoder.stdin.write(frame.array.data)
            position += arguments.speed
        encoder.stdin.close()
    except BrokenPipeError:
        pass
    if encoder.wait() != 0:
        sys.exit("crawl_to_ffmpeg: ffmpeg failed writing %s" % arguments.output)


if __name__ == "__main__":
    main()
