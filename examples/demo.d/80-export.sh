# Export: the bundled traces in one batch into FASTA with its QUAL and into phred's PHD
# beside an SCF, named as the library names export files; a second run into the same
# folder numbers the new files instead of overwriting, each pair with one number.
echo
echo "== zevutil export: the demo traces to FASTA+QUAL and to PHD+SCF"
exp="$out/export"
rm -rf "$exp"
mkdir -p "$exp"
"$zev" export "$here/data/demo.scf" "$here/data/demo.ab1" --format fasta --out "$exp" --resolve-conflicts --verify
"$zev" export "$here/data/demo.ab1" --format phred --out "$exp" --verify
echo "-- the QUAL beside the FASTA, in the library's layout:"
head -3 "$exp/demo.fasta.qual" | tr -d '\r'
echo "-- the PHD names the SCF written with it:"
grep -E '^(BEGIN_SEQUENCE|CHROMAT_FILE)' "$exp/demo.scf.phd.1"
echo "-- again into the same folder: nothing is overwritten, the pair is numbered as one"
"$zev" export "$here/data/demo.ab1" --format phred --out "$exp" --resolve-conflicts --json >"$exp/export_again.json"
grep -E '"(from|to)"' "$exp/export_again.json"
echo "-- without --resolve-conflicts the command refuses and says why:"
"$zev" export "$here/data/demo.ab1" --format phred --out "$exp" || echo "   (exit status $?)"
echo "the exported files are in $exp/"
