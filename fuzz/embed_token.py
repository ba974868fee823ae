#!/usr/bin/env python3
"""Seed maker for the signature fuzzer, on DER CMS SignedData with one signer:
  embed_token.py value CMS.der          the SignerInfo's signature value
  embed_token.py embed CMS.der TOKEN    the CMS with TOKEN as the signer's
                                        unsigned id-aa-timeStampToken attribute
Both write to standard output."""
import sys

TIME_STAMP_TOKEN = bytes.fromhex("2a864886f70d010910020e")  # 1.2.840.113549.1.9.16.2.14


def items(der):
    """(tag, content) of each TLV in `der`; one-byte tags only."""
    out, i = [], 0
    while i < len(der):
        tag, length = der[i], der[i + 1]
        i += 2
        if length & 0x80:
            count = length & 0x7F
            length = int.from_bytes(der[i:i + count], "big")
            i += count
        out.append((tag, der[i:i + length]))
        i += length
    return out


def encode(tag, content):
    size = len(content)
    if size < 0x80:
        return bytes([tag, size]) + content
    digits = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(digits)]) + digits + content


def join(parts):
    return b"".join(encode(tag, content) for tag, content in parts)


def main():
    der = open(sys.argv[2], "rb").read()
    content_info = items(items(der)[0][1])           # contentType, [0]
    signed_data = items(items(content_info[1][1])[0][1])
    signer_info = items(items(signed_data[-1][1])[0][1])
    if sys.argv[1] == "value":
        sys.stdout.buffer.write(signer_info[-1][1])  # no unsigned attributes yet
        return
    token = open(sys.argv[3], "rb").read()
    attribute = encode(0x30, encode(0x06, TIME_STAMP_TOKEN) + encode(0x31, token))
    signer_info.append((0xA1, attribute))
    signed_data[-1] = (0x31, encode(0x30, join(signer_info)))
    content_info[1] = (0xA0, encode(0x30, join(signed_data)))
    sys.stdout.buffer.write(encode(0x30, join(content_info)))


main()
