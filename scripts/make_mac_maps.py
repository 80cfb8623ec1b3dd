#!/usr/bin/env python3
"""Writes the maps between the Mac character sets and the Windows code pages.

Usage: scripts/make_mac_maps.py > QVRoot/String/MacMaps.cpp

A map pairs the 256 bytes of the one character set with those of the other, so that a text comes back from the
other side as it was. Bytes that stand for the same character are paired first, the lower ones before the higher;
those left over are paired in order.

What the bytes stand for comes from the tables that the Unicode Consortium publishes: VENDORS/APPLE/*.TXT for the
Mac, VENDORS/MICSFT/WINDOWS/CP*.TXT for Windows. They are read as codecs of Python, which are made from them; MacHebrew,
which Python lacks, as that of Perl's Encode, made from the same series. Where a byte stands for a sequence of
characters, it has no equal.
"""
import subprocess

PAIRS = [  # name in C++, Windows codec, Mac codec, the Mac's table
    ("Western", "cp1252", "mac_roman", "APPLE/ROMAN.TXT"),
    ("CentralEuropean", "cp1250", "mac_latin2", "APPLE/CENTEURO.TXT"),
    ("Baltic", "cp1257", "mac_latin2", "APPLE/CENTEURO.TXT"),
    ("Cyrillic", "cp1251", "mac_cyrillic", "APPLE/CYRILLIC.TXT"),
    ("Greek", "cp1253", "mac_greek", "APPLE/GREEK.TXT"),
    ("Turkish", "cp1254", "mac_turkish", "APPLE/TURKISH.TXT"),
    ("Hebrew", "cp1255", "perl:MacHebrew", "APPLE/HEBREW.TXT"),
    ("Arabic", "cp1256", "mac_arabic", "APPLE/ARABIC.TXT"),
]

PERL = """
use Encode;
binmode STDOUT, ":utf8";
print join("\\n", map { decode($ARGV[0], chr $_) } 128 .. 255);
"""


def decode_all(codec):
    """Returns what each byte stands for; None where it stands for nothing. The lower half is ASCII."""
    if codec.startswith("perl:"):
        output = subprocess.run(["perl", "-e", PERL, codec[5:]], check=True, capture_output=True).stdout
        texts = output.decode().split("\n")
    else:
        texts = [bytes([byte]).decode(codec, "replace") for byte in range(128, 256)]
    assert len(texts) == 128, codec
    ascii_texts = [chr(byte) for byte in range(128)]
    return ascii_texts + [None if "\N{REPLACEMENT CHARACTER}" in text else text for text in texts]


def make_map(source, target):
    """Returns the byte of `target` for each byte of `source`."""
    free = list(range(256))
    result = [None] * 256
    for byte, text in enumerate(source):
        equal = next((other for other in free if text is not None and target[other] == text), None)
        if equal is not None:
            result[byte] = equal
            free.remove(equal)
    for byte in range(256):
        if result[byte] is None:
            result[byte] = free.pop(0)
    return result


def invert(mapping):
    result = [None] * 256
    for byte, other in enumerate(mapping):
        result[other] = byte
    return result


def print_map(comment, name, mapping):
    print(f"\n/// {comment}")
    print(f"const UInt8 {name}[256] = {{")
    for start in range(0, 256, 16):
        print("    " + " ".join(f"0x{byte:02X}," for byte in mapping[start:start + 16]))
    print("};")


print("""// Made by scripts/make_mac_maps.py; do not edit.
// clang-format off
#include <QVRoot/String/MacMapsImpl.hpp>

namespace QV::Impl {

namespace {""")
for name, windows, mac, table in PAIRS:
    mapping = make_map(decode_all(mac), decode_all(windows))
    equal = [text for byte, text in enumerate(decode_all(mac)) if text == decode_all(windows)[mapping[byte]]]
    shared = len(equal) - equal.count(None)
    source = f"From {table} and MICSFT/WINDOWS/{windows.upper()}.TXT, which share {shared} characters."
    print_map(source, f"macTo{name}", mapping)
    print_map("The way back.", f"{name[0].lower()}{name[1:]}ToMac", invert(mapping))
print("""
} // namespace

MacMaps FindMacMaps(QVCharCode code) noexcept
{
    switch (code) {""")
for name, *_ in PAIRS:
    print(f"    case {name}CharCode:\n        return {{macTo{name}, {name[0].lower()}{name[1:]}ToMac}};")
print("""    default:
        return {};
    }
}

} // namespace QV::Impl""")
