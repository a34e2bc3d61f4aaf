#!/usr/bin/env python3
"""Writes the hand-made messages of corpus/ (hand_*.eml): encoded words in
several charsets, Q and B, folded lines, malformed words and odd dates.
Their fields are judged by mail_oracle.py like the real messages'."""
import base64
import os
import sys


def q(charset, text):
    raw = text.encode(charset)
    out = "".join(chr(b) if 0x21 <= b < 0x7F and chr(b) not in "=?_" else "=%02X" % b for b in raw)
    return "=?%s?Q?%s?=" % (charset, out)


def b(charset, text):
    return "=?%s?B?%s?=" % (charset, base64.b64encode(text.encode(charset)).decode())


MESSAGES = {
    "hand_utf8_q.eml": [("From", q("utf-8", "Jörg Müller") + " <jm@example.de>"), ("To", "ann@example.com"),
                        ("Subject", q("utf-8", "Grüße aus Köln")), ("Date", "Mon, 5 Mar 2012 10:20:30 +0100")],
    "hand_utf8_b.eml": [("From", b("utf-8", "Zoë") + " <z@example.org>"), ("To", "Bob <bob@example.org>"),
                        ("Subject", b("utf-8", "Ünïcödé ✓")), ("Date", "Tue, 31 Dec 2013 23:59:59 -0800")],
    "hand_latin2.eml": [("From", q("iso-8859-2", "Łukasz") + " <l@example.pl>"), ("To", "x@example.pl"),
                        ("Subject", q("iso-8859-2", "Zażółć gęślą jaźń")), ("Date", "1 Feb 2010 00:00:00 +0000")],
    "hand_greek.eml": [("From", "g@example.gr"), ("To", b("iso-8859-7", "Αλέξης") + " <a@example.gr>"),
                       ("Subject", b("iso-8859-7", "Καλημέρα")), ("Date", "Wed, 29 Feb 2012 12:00:00 +0200")],
    "hand_cp1250.eml": [("From", b("windows-1250", "Dvořák") + " <d@example.cz>"), ("To", "t@example.cz"),
                        ("Subject", q("windows-1250", "Příliš žluťoučký kůň")),
                        ("Date", "Sat, 10 Jul 2021 08:15:00 +0530")],
    "hand_cp1251.eml": [("From", "r@example.ru"), ("To", q("windows-1251", "Иван") + " <i@example.ru>"),
                        ("Subject", b("windows-1251", "Привет, мир")), ("Date", "3 Jan 2022 03:04:05 -0000")],
    "hand_koi8.eml": [("From", b("koi8-r", "Пётр") + " <p@example.ru>"), ("To", "q@example.ru"),
                      ("Subject", q("koi8-r", "Отчёт")), ("Date", "Sun, 4 Apr 2004 04:04:04 +0400")],
    "hand_sjis.eml": [("From", b("shift-jis", "山田太郎") + " <y@example.jp>"), ("To", "t@example.jp"),
                      ("Subject", b("shift-jis", "会議のお知らせ")), ("Date", "Fri, 1 Jun 2018 09:00:00 +0900")],
    "hand_folded.eml": [("From", "\"Ann Lee\" <ann@example.com>"), ("To", "bob@example.com"),
                        ("Subject", "A long subject that is\r\n folded once\r\n\tand twice"),
                        ("Date", "Mon,\r\n 5 Mar 2012 10:20:30 +0100")],
    "hand_folded_to.eml": [("From", "a@example.com"), ("To", "Ann <a@example.com>,\r\n Bob <b@example.com>"),
                           ("Subject", "folded To"), ("Date", "5 Mar 2012 10:20:30 +0000")],
    "hand_adjacent_words.eml": [("From", q("utf-8", "Ann") + " " + q("utf-8", "Lee") + " <al@example.com>"),
                                ("To", "x@example.com"),
                                ("Subject", q("utf-8", "one") + " " + q("utf-8", "two") + " three"),
                                ("Date", "5 Mar 2012 10:20:30 +0000")],
    "hand_malformed.eml": [("From", "=?utf-8?X?bad?= <m@example.com>"), ("To", "=?utf-8?q?lower?= <n@example.com>"),
                           ("Subject", "=?utf-8?Q?unterminated and =?nosuch?Q?x?="),
                           ("Date", "5 Xyz 2012 10:20:30 +0000")],
    "hand_named_zone.eml": [("From", "a@example.com"), ("To", "b@example.com"), ("Subject", "EST"),
                            ("Date", "Mon, 5 Mar 2012 10:20:30 EST")],
    "hand_gmt.eml": [("From", "a@example.com"), ("To", "b@example.com"), ("Subject", "GMT"),
                     ("Date", "Mon, 5 Mar 2012 10:20:30 GMT")],
    "hand_odd_date.eml": [("From", "a@example.com"), ("To", "b@example.com"), ("Subject", "odd date"),
                          ("Date", "Monday, 5 March 2012 10:20 +0100")],
    "hand_hour24.eml": [("From", "a@example.com"), ("To", "b@example.com"), ("Subject", "hour 24"),
                        ("Date", "5 Mar 2012 24:00:00")],
    "hand_exchange.eml": [("From", "Ann <EX:/O=ORG/OU=SITE/CN=RECIPIENTS/CN=ANN>"),
                          ("To", "Bob (the boss) <bob@example.com>"), ("Subject", "x"),
                          ("Date", "5 Mar 2012 10:20:30 +0000")],
    "hand_case.eml": [("FROM", "a@example.com"), ("to", "b@example.com"), ("SUBJECT", "upper"),
                      ("date", "5 Mar 2012 10:20:30 +0000")],
}


def main():
    folder = os.path.join(sys.argv[1] if len(sys.argv) > 1 else ".", "corpus")
    for name, header in MESSAGES.items():
        text = "Received: from relay.example.com\r\n\tby mx.example.com; 5 Mar 2012\r\n"
        text += "".join("%s: %s\r\n" % field for field in header)
        text += "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=utf-8\r\n\r\nBody.\r\n"
        with open(os.path.join(folder, name), "wb") as f:
            f.write(text.encode("ascii"))
    return 0


if __name__ == "__main__":
    sys.exit(main())
