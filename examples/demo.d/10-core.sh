# Core commands: the library's checksum and the IUB ambiguity codes, on bundled text.
echo
echo "== zevutil crc: the library's checksum (no final inversion, so 123456789 gives 340BC6D9)"
"$zev" crc "$here/data/crc_check.txt" "$here/data/called_bases.txt" | tee "$out/crc.txt"
echo
echo "== zevutil iub: every distinct code in the called bases of $here/data/called_bases.txt"
# The sequence lines only (not the FASTA header), one distinct character per argument.
mapfile -t codes < <(grep -v '^>' "$here/data/called_bases.txt" | tr -d '\n' | fold -w1 | LC_ALL=C sort -u)
"$zev" iub "${codes[@]}" | tee "$out/iub.txt"
"$zev" iub --json "${codes[@]}" >"$out/iub.json"
echo "(the same as JSON: $out/iub.json)"
