# Sequence reports: the base table and the trimming report of the demo trace, with a
# small made-up vector file (examples/data/demo_vector.fasta) whose pieces match both
# ends of the read, to a PDF file and to PNG pages; and the base table as text.
echo
echo "== zevutil report: base table and trimming report of the demo trace, to PDF and PNG"
vectors="$here/data/demo_vector.fasta"
"$zev" report "$here/data/demo.scf" --header --trimming --table --vector "$vectors" --pdf "$out/demo_report.pdf"
rm -rf "$out/demo_report_png"
"$zev" report "$here/data/demo.scf" --header --trimming --table --vector "$vectors" \
  --png "$out/demo_report_png" --dpi 100
"$zev" report "$here/data/demo.scf" --export "$out/demo_base_table.txt"
echo "-- the trimming report as printed (first page, as text):"
if command -v pdftotext >/dev/null; then
  pdftotext -layout -l 1 "$out/demo_report.pdf" - | sed -n '/Original Sequence Length/,/^Number Base/p' | sed '$d'
fi
echo "-- the base table as text (first rows):"
head -4 "$out/demo_base_table.txt"
echo "the report is in $out/demo_report.pdf; its pages as PNG are in $out/demo_report_png/;"
echo "the base table as tab-delimited text is in $out/demo_base_table.txt"
