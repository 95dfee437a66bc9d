#!/bin/sh
# Makes the pictures of this folder with ImageMagick 6 and netpbm, and beside each NAME.rgba: what those programs
# decode it to, as red, green, blue and alpha bytes, top row first (-auto-orient, since ImageMagick keeps the rows in
# stored order otherwise). Kept in the repository, so the tests need neither.
set -e
cd "$(dirname "$0")"
convert -seed 7 -size 37x21 plasma:orange-blue -depth 8 base.png
convert base.png \( -size 37x21 radial-gradient:white-black \) -alpha off -compose CopyOpacity -composite alpha.png
convert base.png -colors 200 -depth 8 few.png
convert base.png -compress none tga24_plain.tga
convert base.png -compress RLE tga24_rle.tga
convert base.png -orient TopLeft -compress none tga24_topdown.tga
convert alpha.png -compress none tga32_plain.tga
convert alpha.png -compress RLE tga32_rle.tga
convert few.png -type Palette -compress none tga8_plain.tga
convert few.png ppm:- | ppmtotga -cmap -name x > tga8_netpbm.tga
convert base.png ppm:- | ppmtotga -rgb -norle > tga24_netpbm.tga
convert base.png ppm:- | ppmtotga -rgb > tga24rle_netpbm.tga
convert few.png -type Palette pcx8_magick.pcx
convert few.png ppm:- | ppmtopcx > pcx8_netpbm.pcx
convert base.png ppm:- | ppmtopcx -24bit > pcx24_refused.pcx
convert -size 64x3 xc:red xc:blue -append -type Palette pcx8_runs.pcx
convert -size 200x2 xc:red xc:blue -append -compress RLE tga24_runs.tga
for f in *magick.pcx *plain.tga *rle.tga *topdown.tga *runs.tga *runs.pcx; do convert "$f" -auto-orient -depth 8 "rgba:${f%.*}.rgba"; done
for f in tga8_netpbm tga24_netpbm tga24rle_netpbm; do tgatoppm $f.tga | convert ppm:- -depth 8 rgba:$f.rgba; done
pcxtoppm pcx8_netpbm.pcx | convert ppm:- -depth 8 rgba:pcx8_netpbm.rgba
rm base.png alpha.png few.png
