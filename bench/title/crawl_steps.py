#!/usr/bin/python3
"""Per-frame steps of a crawl, measured from the pictures alone.

Reads a YUV4MPEG2 stream of a crawl over black (standard input or a file),
takes the luma of rows FIRST..LAST, and finds the text's horizontal centroid
in every frame (luma above black, 16, as weight). Frames whose text touches
the left or right MARGIN columns (partly off screen or in a fade) are left
out. Prints the number of steps, their mean and their standard deviation in
pixels: a crawl placed on whole pixels judders between neighbouring whole
steps, a sub-pixel crawl moves by the same fraction every frame.

usage: crawl_steps.py FIRST LAST [MARGIN] [FILE] < stream.y4m
"""
import sys

import numpy


def frames(stream):
    header = stream.readline().split()
    width = int(next(t[1:] for t in header if t.startswith(b"W")))
    height = int(next(t[1:] for t in header if t.startswith(b"H")))
    colour = next((t[1:] for t in header if t.startswith(b"C")), b"420")
    chroma = {b"444": 2, b"422": 1}.get(colour[:3], 0.5)
    size = int(width * height * (1 + chroma))
    while stream.readline().startswith(b"FRAME"):
        data = stream.read(size)
        if len(data) < size:
            return
        yield numpy.frombuffer(data, numpy.uint8, width * height).reshape(height, width)


def main():
    first, last = int(sys.argv[1]), int(sys.argv[2])
    margin = int(sys.argv[3]) if len(sys.argv) > 3 else 100
    stream = open(sys.argv[4], "rb") if len(sys.argv) > 4 else sys.stdin.buffer
    centroids = []
    for luma in frames(stream):
        weight = numpy.clip(luma[first:last + 1].astype(numpy.float64) - 16, 0, None).sum(axis=0)
        inked = numpy.nonzero(weight > 0)[0]
        visible = (len(inked) > 0 and inked[0] >= margin
                   and inked[-1] < len(weight) - margin)
        columns = numpy.arange(len(weight))
        centroids.append((weight * columns).sum() / weight.sum() if visible else None)
    steps = [b - a for a, b in zip(centroids, centroids[1:]) if a is not None and b is not None]
    if not steps:
        sys.exit("no two consecutive frames show the whole text")
    print("steps %d  mean %.4f px  standard deviation %.4f px"
          % (len(steps), numpy.mean(steps), numpy.std(steps)))


if __name__ == "__main__":
    main()
