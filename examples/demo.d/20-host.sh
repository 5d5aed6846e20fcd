# Host services: a registry store, an INI profile and the process check, in scratch
# files under the demo's output folder (the real stores are left alone).
store="$out/registry"
rm -rf "$store"
echo
echo "== zevutil reg: values of every type in a scratch store ($store)"
key='Software\Halvorn Instruments\Zevatron\SystemDefaults\ColorInfo'
"$zev" reg --store "$store" set "$key" DYEAID "ff 00 00 00" --type binary
"$zev" reg --store "$store" set "$key" DYECID "00 80 00 00" --type binary
"$zev" reg --store "$store" set "$key" Count 34 --type dword
"$zev" reg --store "$store" set "$key" Owner "SystemDefaults"
"$zev" reg --store "$store" --root machine set 'SOFTWARE\Halvorn Ostrava, Inc.\ZEV 5500' LastInstallVersion "5.1"
"$zev" reg --store "$store" list "$key" | tee "$out/reg_list.txt"
echo "-- names match without regard to case:"
"$zev" reg --store "$store" get 'software\halvorn instruments\zevatron\systemdefaults\colorinfo' dyeaid
"$zev" reg --store "$store" --json list "$key" >"$out/reg_list.json"
echo "(the same as JSON: $out/reg_list.json)"

ini="$out/demo.ini"
printf '; export settings\r\n[EXPORT]\r\nTXT_EXT = "log"\r\n' >"$ini"
echo
echo "== zevutil ini: read and change $ini, keeping its other lines"
echo "-- TXT_EXT (quotes removed, blanks trimmed): $("$zev" ini get "$ini" export txt_ext)"
"$zev" ini set "$ini" EXPORT SCF_EXT scf
"$zev" ini set "$ini" INSTRUMENT Deadtime 1.25
cat "$ini" | tr -d '\r'

echo
echo "== zevutil ps: is a process of that name running? (exit status 0 yes, 1 no)"
"$zev" ps bash || true
"$zev" ps no-such-program.exe || true
