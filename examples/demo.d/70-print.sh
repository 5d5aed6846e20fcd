# Printing: a sample run report laid out as pages (header with the title, footer with
# the date and page number, a right-aligned column, word wrap) to a PDF file and to PNG pages.
echo
echo "== zevutil print: a sample run report to PDF and to PNG pages"
report="$out/sample_report.txt"
{
  printf 'A sample run summary laid out by the print engine. The capillary rows below are made-up figures that show tab stops and right-aligned columns; the called bases at the end come from the demo data.\n'
  printf '\n'
  printf 'Capillary\tSample\tRead length\tMean quality\n'
  for i in $(seq 1 48); do
    printf 'Cap %02d\tSAMPLE_%03d\t%d\t%d\n' "$i" "$i" $(( (i * 7919) % 900 + 100 )) $(( (i * 31) % 40 + 10 ))
  done
  printf '\n'
  while IFS= read -r line; do printf 'Called bases: %s\n' "$line"; done < "$here/data/called_bases.txt"
} > "$report"
"$zev" print "$report" --pdf "$out/sample_report.pdf" --title "Sample run report" \
  --tabs 1.3,2.6,-4.4,-5.6 --json | tee "$out/print_summary.json"
"$zev" print "$report" --png "$out/sample_report_png" --dpi 100 --title "Sample run report" \
  --tabs 1.3,2.6,-4.4,-5.6
echo "the report is in $out/sample_report.pdf; its pages as PNG are in $out/sample_report_png/"
echo "-- the print destinations of this machine:"
"$zev" printers
