#!/usr/bin/env bash
# Makes the demo's sample picture examples/data/sample16.tif with ImageMagick:
# a synthetic 16-bit fluorescence-like field (a background gradient, three
# bright cells of different sizes and a dim seeded noise), 256 x 192 pixels.
set -euo pipefail
cd "$(dirname "$0")/.."
convert=${CONVERT:-/usr/bin/convert}
"$convert" -size 256x192 xc: -fx \
  'min(1, 0.08 + 0.12*i/w + 0.75*exp(-((i-70)^2+(j-60)^2)/300) + 0.55*exp(-((i-180)^2+(j-120)^2)/700) + 0.35*exp(-((i-120)^2+(j-160)^2)/120))' \
  -seed 7 -attenuate 0.15 +noise Gaussian \
  -depth 16 -type Grayscale -define tiff:rows-per-strip=16 -compress None \
  examples/data/sample16.tif
ls -l examples/data/sample16.tif
