# Dialogs: the suite's windows shown for real on a private X server (Xvfb) when it is
# installed, each run unattended by the program itself (a picture of each, then the
# button a person would press): the properties sheet of a trace, the export dialog and
# the export's progress window, and the print status window of a print and a report. Without Xvfb the same
# commands fall back to the terminal and say so.
echo
echo "== zevutil props / export --dialog / print --dialog: the dialogs on screen"
shots="$out/dialogs"
rm -rf "$shots"
mkdir -p "$shots/export"
if command -v Xvfb >/dev/null 2>&1; then
  fdfile="$shots/.display"
  : >"$fdfile"
  # Xvfb picks a free display itself and writes its number to fd 3.
  Xvfb -displayfd 3 -screen 0 1024x768x24 -dpi 96 -nolisten tcp -noreset 3>"$fdfile" >/dev/null 2>&1 &
  xvfb_pid=$!
  for _ in $(seq 50); do [ -s "$fdfile" ] && break; sleep 0.1; done
  if [ -s "$fdfile" ]; then
    (
      export DISPLAY=":$(cat "$fdfile")" NO_AT_BRIDGE=1 GDK_BACKEND=x11 GTK_THEME=Adwaita GSETTINGS_BACKEND=memory
      export XDG_CONFIG_HOME="$shots/.config"
      "$zev" props "$here/data/demo.ab1" --shot "$shots/properties"
      "$zev" export "$here/data/demo.ab1" --dialog --out "$shots/export" --shot "$shots/export-dialog"
      "$zev" print "$here/data/called_bases.txt" --pdf "$shots/print.pdf" --dialog --shot "$shots/print"
      "$zev" report "$here/data/demo.ab1" --pdf "$shots/report.pdf" --dialog --shot "$shots/report" 2>/dev/null
    ) || echo "   (a dialog step failed: exit status $?)"
  else
    echo "   Xvfb did not start; the dialogs are not shown"
  fi
  kill "$xvfb_pid" 2>/dev/null || true
  wait "$xvfb_pid" 2>/dev/null || true
  rm -f "$fdfile"
  echo "-- pictures of the dialogs:"
  ls "$shots"/*.png 2>/dev/null | sed 's/^/   /'
else
  echo "   Xvfb is not installed: the same commands without a display fall back to the terminal"
  DISPLAY= "$zev" props "$here/data/demo.ab1" | sed -n 1,12p
fi
echo "the dialog pictures are in $shots/"
