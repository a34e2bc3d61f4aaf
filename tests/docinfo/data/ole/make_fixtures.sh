#!/usr/bin/env bash
# Makes the compound-file fixtures with a real producer: flat ODF documents with
# known metadata, converted by the office suite in headless mode to .doc, .xls
# and .ppt. The results are committed, so the tests do not need the suite.
#   bash make_fixtures.sh        (needs soffice: libreoffice-writer-nogui,
#                                 -calc-nogui, -impress-nogui)
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

meta() {   # title subject keywords description creator lastauthor created saved
  cat <<META
 <office:meta>
  <dc:title>$1</dc:title>
  <dc:subject>$2</dc:subject>
  <meta:keyword>$3</meta:keyword>
  <dc:description>$4</dc:description>
  <meta:initial-creator>$5</meta:initial-creator>
  <dc:creator>$6</dc:creator>
  <meta:creation-date>$7</meta:creation-date>
  <dc:date>$8</dc:date>
 </office:meta>
META
}
head_of() {
  cat <<HEAD
<?xml version="1.0" encoding="UTF-8"?>
<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0"
 xmlns:meta="urn:oasis:names:tc:opendocument:xmlns:meta:1.0" xmlns:dc="http://purl.org/dc/elements/1.1/"
 xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0"
 xmlns:draw="urn:oasis:names:tc:opendocument:xmlns:drawing:1.0" xmlns:presentation="urn:oasis:names:tc:opendocument:xmlns:presentation:1.0"
 office:version="1.3" office:mimetype="$1">
HEAD
}

{ head_of application/vnd.oasis.opendocument.text
  meta "Quarterly report" "Sales in the north" "sales; north; 2019" "Figures of the third quarter." \
       "Ann Example" "Bob Editor" "2019-07-01T08:30:00" "2019-09-30T17:45:10"
  echo ' <office:body><office:text><text:p>Hello from the report.</text:p></office:text></office:body></office:document>'
} > "$work/report.fodt"

{ head_of application/vnd.oasis.opendocument.text
  meta "Größe – Maße über 100 €" "Ümlaute äöü" "Schlüssel" "Bemerkung: naïve café" \
       "Jürgen Müller" "Zoë Ærø" "2021-02-28T23:59:59" "2022-01-01T00:00:00"
  echo ' <office:body><office:text><text:p>Grüße.</text:p></office:text></office:body></office:document>'
} > "$work/umlauts.fodt"

{ head_of application/vnd.oasis.opendocument.spreadsheet
  meta "Budget" "Costs 2020" "budget" "The yearly budget." "Carl Calc" "Dora Sheet" \
       "2020-01-15T09:00:00" "2020-12-31T12:00:00"
  echo ' <office:body><office:spreadsheet><table:table table:name="S"><table:table-row><table:table-cell/></table:table-row></table:table></office:spreadsheet></office:body></office:document>'
} > "$work/budget.fods"

{ head_of application/vnd.oasis.opendocument.presentation
  meta "Kick-off" "Project start" "slides" "Opening talk." "Eve Slides" "Finn Talk" \
       "2018-05-05T10:00:00" "2018-05-06T11:11:11"
  echo ' <office:body><office:presentation><draw:page draw:name="p1"/></office:presentation></office:body></office:document>'
} > "$work/talk.fodp"

{ head_of application/vnd.oasis.opendocument.text
  echo ' <office:meta><dc:title></dc:title></office:meta>'
  echo ' <office:body><office:text><text:p>No properties.</text:p></office:text></office:body></office:document>'
} > "$work/plain.fodt"

cd "$work"
profile="file://$work/profile"
soffice -env:UserInstallation="$profile" --headless --convert-to doc report.fodt umlauts.fodt plain.fodt >/dev/null
soffice -env:UserInstallation="$profile" --headless --convert-to xls budget.fods >/dev/null
soffice -env:UserInstallation="$profile" --headless --convert-to ppt talk.fodp >/dev/null
cp report.doc umlauts.doc plain.doc budget.xls talk.ppt "$here/"
ls -l "$here"/*.doc "$here"/*.xls "$here"/*.ppt
