# Codecs: the LZSS block compressor and the regular expression engine, on bundled data.
echo
echo "== zevutil lzss: compress a text and a trace file as one block each, and expand them again"
for f in called_bases.txt demo.scf; do
  "$zev" lzss compress "$here/data/$f" "$out/$f.lzss"
  "$zev" lzss expand "$out/$f.lzss" "$out/$f.expanded"
  if cmp -s "$here/data/$f" "$out/$f.expanded"; then
    echo "expanded $f is identical to the original"
  else
    echo "expanded $f differs from the original" >&2
    exit 1
  fi
done
echo
echo "== zevutil grep: ambiguity codes in the called bases of $here/data/called_bases.txt"
echo "-- lines holding an N or a two-base code (R Y K M S W):"
"$zev" grep '[RYKMSWN]' "$here/data/called_bases.txt" | tee "$out/grep_lines.txt"
echo "-- each line's first code, then its last (found from the end):"
"$zev" grep -o '[RYKMSWBDHVN]+' "$here/data/called_bases.txt"
"$zev" grep -r -o '[RYKMSWBDHVN]+' "$here/data/called_bases.txt"
echo "-- the header, case-insensitively, with the sample name pulled out by a group:"
"$zev" grep -i -o --replace 'sample \1' '^>SAMPLE_([a-z0-9]+)' "$here/data/called_bases.txt" | tee "$out/grep_sample.txt"
