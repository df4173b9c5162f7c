#!/usr/bin/env bash
# Makes the TIFF files the loader is tested on, with tools nobody on the
# project wrote: ImageMagick's convert makes the pictures, libtiff's tiffcp
# re-encodes them (strips, tiles, byte order, BigTIFF, compression, pages) and
# tiffset edits tags (orientation, and the damaged headers of hostile files).
# Usage: make-tiff-corpus.sh OUTDIR
set -euo pipefail
out=${1:?usage: make-tiff-corpus.sh OUTDIR}
convert=${CONVERT:-/usr/bin/convert}
tiffcp=${TIFFCP:-tiffcp}
tiffset=${TIFFSET:-tiffset}
mkdir -p "$out"
cd "$out"
rm -f .complete

size=37x23   # odd, non-square: no row is a multiple of 4 bytes
im() { "$convert" -size "$size" "$@"; }

# Grey pages of every depth; the pattern varies along both axes.
im xc: -fx '(i+j)%2' -type Bilevel -depth 1 -compress None grey1.tif
im xc: -fx '((i*3+j*5)%16)/15' -depth 4 -type Grayscale -compress None grey4.tif
im xc: -fx '((i*7+j*13)%256)/255' -depth 8 -type Grayscale -compress None grey8.tif
im xc: -fx '((i*1031+j*7919)%65536)/65535' -depth 16 -type Grayscale -compress None grey16.tif
im xc: -fx '((i*1031+j*7919)%65536)/65535' -depth 32 -type Grayscale -compress None grey32.tif
# ImageMagick sets a predictor on floating-point pages, which only compressed
# pages may carry: write them compressed and let tiffcp store them plainly.
im xc: -fx '(i+j*40)/1000' -depth 32 -define quantum:format=floating-point -type Grayscale -compress LZW float32-lzw.tif
"$tiffcp" -c none float32-lzw.tif float32.tif
"$tiffcp" float32.tif float32-nosf.tif
"$tiffset" -u 339 float32-nosf.tif
im xc: -fx '(i+j*40)/1000' -depth 64 -define quantum:format=floating-point -type Grayscale -compress LZW float64-lzw.tif
"$tiffcp" -c none float64-lzw.tif float64.tif

# Palette and colour pages.
im gradient:red-blue -colors 8 -type Palette -compress None palette.tif
"$convert" -size 13x7 gradient:red-blue -depth 8 -type TrueColor -compress None rgb8.tif
"$convert" -size 13x7 gradient:red-blue -alpha set -channel A -evaluate set 50% +channel -depth 8 \
  -type TrueColorAlpha -compress None rgba8.tif
"$convert" -size 13x7 gradient:green-yellow -depth 16 -type TrueColor -compress None rgb16.tif
"$convert" -size 5x3 gradient:red-blue -alpha set -depth 32 -define quantum:format=floating-point \
  -type TrueColorAlpha -compress LZW rgba128.tif

# Strip layouts, byte orders, BigTIFF, compression, pages and tiles.
"$tiffcp" -r 1 grey16.tif strips1.tif
"$tiffcp" -r 5 grey16.tif strips5.tif
"$tiffcp" -r 100 grey16.tif strips-whole.tif
"$tiffcp" -r 5 grey16.tif strips-none.tif
"$tiffset" -u 278 strips-none.tif
"$tiffcp" -B -r 4 grey16.tif big-endian16.tif
"$tiffcp" -L -r 4 grey16.tif little-endian16.tif
"$tiffcp" -8 -r 6 grey16.tif bigtiff16.tif
"$tiffcp" -c lzw -r 7 grey16.tif lzw16.tif
"$tiffcp" -c zip -r 3 grey16.tif deflate16.tif
"$tiffcp" -c packbits grey8.tif packbits8.tif
"$tiffcp" grey16.tif grey8.tif float32.tif multipage.tif
"$tiffcp" -t -w 16 -l 16 grey16.tif tiled16.tif
for o in 1 2 3 4 5 6 7 8; do
  cp grey16.tif "orient$o.tif"
  "$tiffset" -s 274 "$o" "orient$o.tif"
done
"$convert" -size 8x8 xc:gray -density 300 -units PixelsPerInch -depth 8 -compress None resolution.tif

# Hostile files: damaged copies of good ones.
"$tiffcp" -r 100 grey16.tif onestrip16.tif
size16=$((37 * 23 * 2))
head -c $((size16 / 2)) onestrip16.tif > truncated16.tif
# Strips whose stored bytes do not match what RowsPerStrip declares.
cp strips1.tif short-strips16.tif
"$tiffset" -s 278 10 short-strips16.tif
cp strips5.tif long-strips16.tif
"$tiffset" -s 278 2 long-strips16.tif
cp grey8.tif huge-size8.tif
"$tiffset" -s 256 100000 huge-size8.tif
"$tiffset" -s 257 100000 huge-size8.tif
cp grey8.tif zero-width8.tif
"$tiffset" -s 256 0 zero-width8.tif
cp grey8.tif absurd-bits8.tif
"$tiffset" -s 258 200 absurd-bits8.tif
cp grey16.tif odd-bits16.tif
"$tiffset" -s 258 24 odd-bits16.tif
printf 'not a tiff file at all' > text.tif
printf 'II*\0' > tiny.tif
# Readers wait for this mark: the corpus is complete.
touch .complete
