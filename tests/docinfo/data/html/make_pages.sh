#!/usr/bin/env bash
# Writes the HTML test pages in their charsets with iconv (the outside judge of
# each encoding). The outputs are committed; run again only to change them.
set -euo pipefail
cd "$(dirname "$0")"
page() {  # file charset title
  printf '<!DOCTYPE html>\n<html>\n<head>\n<meta http-equiv="Content-Type" content="text/html; charset=%s">\n<title>%s</title>\n<meta name="author" content="Autor">\n</head>\n<body><p>%s</p></body>\n</html>\n' \
    "$2" "$3" "$3" | iconv -f UTF-8 -t "$2" > "$1"
}
page koi8r.html koi8-r "Привет, мир"
page latin2.html iso-8859-2 "Zażółć gęślą jaźń"
page shift_jis.html shift_jis "日本語のページ"
page utf8.html utf-8 "Καλημέρα — café"
