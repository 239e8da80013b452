#!/usr/bin/env python3
"""Dilates and erodes a volume for a benchmark.

Reads from standard input a line with three dimensions, x first, then a byte for each voxel, then lines "dilate N" or
"erode N"; answers each with the number of voxels that are set then.
"""
import sys

import numpy
from scipy import ndimage


def main():
    source = sys.stdin.buffer
    nx, ny, nz = map(int, source.readline().split())
    voxels = numpy.frombuffer(source.read(nx * ny * nz), dtype=bool).reshape(nz, ny, nx)
    cross = ndimage.generate_binary_structure(3, 1)
    operations = {b"dilate": ndimage.binary_dilation, b"erode": ndimage.binary_erosion}
    print("ready", flush=True)
    for order in source:
        name, iterations = order.split()
        print(numpy.count_nonzero(operations[name](voxels, cross, iterations=int(iterations))), flush=True)


main()
