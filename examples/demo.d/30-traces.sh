# Trace files: the bundled synthetic chromatogram (examples/data/demo.scf, made by our
# own writer, and its ABIF copy demo.ab1, made from it by convert) dumped, then
# converted through every format and back.
demo="$here/data/demo.scf"
echo
echo "== zevutil dump: what the library reads from $demo (the format is told by the content)"
"$zev" dump "$demo" | tee "$out/demo_scf_dump.txt" | head -40
echo "   ... (whole listing in $out/demo_scf_dump.txt; every sample: dump --full)"
"$zev" dump --json --full "$demo" >"$out/demo_scf_dump.json"
echo "(the same as JSON, every base and sample: $out/demo_scf_dump.json)"

echo
echo "== zevutil convert: SCF 3.00 -> ABIF -> SCF 2.10, and into ESD and the CRV file set"
"$zev" convert "$demo" "$out/demo.ab1" --to abif
"$zev" convert "$out/demo.ab1" "$out/demo_from_abif.scf" --to scf2
"$zev" convert "$demo" "$out/demo.esd" --to esd
"$zev" convert "$out/demo.esd" "$out/demo_from_esd.scf" --to scf3
"$zev" convert "$demo" "$out/demo" --to crv
"$zev" convert "$out/demo_D1.CRV" "$out/demo_from_crv.scf" --to scf3
echo "-- the bundled ABIF copy as the library reads it (directory, then run data):"
"$zev" dump "$here/data/demo.ab1" | sed -n '/^directory/,/^counts:/p'
cmp -s "$here/data/demo.ab1" "$out/demo.ab1" && echo "   (the conversion above gives the bundled copy byte for byte)"
echo "-- the ESD trailer is found without any magic word:"
"$zev" dump "$out/demo.esd" | grep -E '^(format|kind|lines|file length):'
echo "-- bases and peaks survive SCF -> ABIF -> SCF 2.10:"
"$zev" dump --json --full "$out/demo_from_abif.scf" >"$out/demo_from_abif.json"
if cmp -s <(grep -A3 '"sequence"' "$out/demo_scf_dump.json") <(grep -A3 '"sequence"' "$out/demo_from_abif.json"); then
  echo "   same sequence in $out/demo_from_abif.scf"
else
  echo "   the sequence differs: compare $out/demo_scf_dump.json and $out/demo_from_abif.json"
fi
