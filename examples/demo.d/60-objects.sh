# Persistent objects and run data: the colour table kept in a scratch registry store,
# and the dead-time calibration of an instrument INI file.
reg_dir="$out/objects_registry"
rm -rf "$reg_dir"
echo
echo "== zevutil colors: the 34 display and print colours; a fresh store gets the system defaults"
"$zev" colors --store "$reg_dir" | tee "$out/colors_defaults.txt"
echo
echo "== zevutil colors --set: dye A green for the system defaults, kept for the next run"
"$zev" colors --store "$reg_dir" --set DYEAID=00FF00 >/dev/null
"$zev" colors --store "$reg_dir" | grep -E ' (DYEAID|DYECID) '
echo "-- a user of their own starts from the built-in defaults:"
"$zev" colors --store "$reg_dir" --user demo --set QUALITYID=FF8000 >/dev/null
"$zev" colors --store "$reg_dir" --user demo --json >"$out/colors_demo_user.json"
"$zev" colors --store "$reg_dir" --user demo | grep -E ' (DYEAID|QUALITYID) '
echo "(the user's table as JSON: $out/colors_demo_user.json)"
echo
echo "== zevutil calib: dead time 25 is at or above the threshold 20, so Saturation sets element 1"
printf '[INSTRUMENT]\r\nDeadtime=25.0\r\nDeadtimeThreshold=20.0\r\nSaturation=52000 104000\r\n' >"$out/instrument.ini"
"$zev" calib "$out/instrument.ini" | tee "$out/calib.txt"
echo "-- a one-character Deadtime counts as absent, and nothing behind it is read:"
printf '[INSTRUMENT]\r\nDeadtime=5\r\nSaturation=1 2\r\n' >"$out/instrument_short.ini"
"$zev" calib "$out/instrument_short.ini"
