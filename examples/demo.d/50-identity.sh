# Identity: the name grammar of identifiers, identifiers built from tokens with their
# stored form, and the version resource our build embeds in its own files.
echo
echo "== zevutil id parse: cell location, unique and old extensions, reduced display forms"
for name in "SAMPLE.A1_04031214AB" "LONG_PLATE_NAME_RUN_0042.H12_04031214AB" "Sample_031214Q7" "Plate 7::old"; do
  "$zev" id parse "$name"
  echo
done | tee "$out/id_parse.txt"
"$zev" id parse --json "SAMPLE.A1_04031214AB" >"$out/id_parse.json"
echo "== zevutil id token: the class the factory builds for a token, and its stored bytes"
for token in "10000 SAMPLE.A1_04031214AB" "10002 Result 3" "8123 Instrument 4" "14000 Plate Layout" "16001 Property Set"; do
  "$zev" id token "$token"
  echo
done | tee "$out/id_token.txt"
echo "== zevutil version: our library and program carry their own version note"
lib="$(dirname "$zev")/../../libzevutil.so"
"$zev" version "$lib" | tee "$out/version.txt"
"$zev" version --json "$zev" >"$out/version.json"
echo "(the program's as JSON: $out/version.json)"
