# Bitmaps: the palettes of two small images (a gel of bands as a palette PNG, dye
# swatches as an 8-bit BMP) merged into one identity palette, and the merged sheet.
echo
echo "== zevutil bitmap info: the table entries the swatch image uses"
"$zev" bitmap info "$here/data/dye_swatches.bmp" | sed -n 1,6p
echo
echo "== zevutil bitmap merge: two images on one 256-entry identity palette"
"$zev" bitmap merge "$here/data/gel_bands.png" "$here/data/dye_swatches.bmp" -o "$out/bitmap_merged.png" \
  | tee "$out/bitmap_merge.txt"
echo "-- the blue swatch turned red (both colours are in the image's table):"
"$zev" bitmap replace "$here/data/dye_swatches.bmp" --from 0000FF --to FF0000 -o "$out/bitmap_replaced.bmp"
echo "the merged sheet is $out/bitmap_merged.png (the report: $out/bitmap_merge.txt);" \
  "the changed swatches are $out/bitmap_replaced.bmp"
