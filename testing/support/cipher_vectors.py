"""Prints the values that encrypted_model_file_test.cpp compares with. Follows the definition of the format, byte by
byte, and shares no code with the product. Takes half a minute."""

PIECE = 4 * 1024 * 1024
KEY = b"Key!"


def hashed(group):
    value = 0
    for byte in group:
        value = value * 31 + (byte - 256 if byte > 127 else byte)
    return value & 0xFFFFFFFF


def second_place(first, block):
    return hashed(first) % (len(block) - 4) & ~3 or 4


def xored(one, other):
    return bytes(a ^ b for a, b in zip(one, other))


def rotate_words(block, bits, order):
    for i in range(0, len(block), 2):
        word = int.from_bytes(block[i:i + 2], order)
        block[i:i + 2] = ((word << bits | word >> 16 - bits) & 0xFFFF).to_bytes(2, order)


def mask(block, group, order):
    block[:] = xored(block, hashed(group).to_bytes(4, order) * (len(block) // 4))


def decrypt_block(block, order):
    rotate_words(block, 13, order)
    first = xored(block[:4], KEY)
    place = second_place(first, block)
    second = xored(first, block[place:place + 4])
    mask(block, second, order)
    block[:4] = first
    block[place:place + 4] = second


def encrypt_block(block, order):
    first = bytes(block[:4])
    place = second_place(first, block)
    second = bytes(block[place:place + 4])
    mask(block, second, order)
    block[:4] = xored(first, KEY)
    block[place:place + 4] = xored(first, second)
    rotate_words(block, 3, order)


def signed_shift(byte, bits):
    return (byte - 256 if byte > 127 else byte) >> bits


def decrypt_tail(chunk, tail):
    for i in range(len(chunk) - tail, tail):
        byte = chunk[i] ^ KEY[i % 4]
        chunk[i] = (signed_shift(byte, 3) | byte << 5) & 0xFF


def encrypt_tail(chunk, tail):
    for i in range(len(chunk) - tail, tail // 2):
        chunk[i] = ((signed_shift(chunk[i], 5) | chunk[i] << 3) & 0xFF) ^ KEY[i % 4]


def transformed(text, transform_block, transform_tail, order="little"):
    result = b""
    for start in range(0, len(text), PIECE):
        chunk = bytearray(text[start:start + PIECE])
        tail = len(chunk) % 16
        offset = 0
        while offset < len(chunk) - tail:
            size = 256 if len(chunk) - offset >= 256 else 16
            block = bytearray(chunk[offset:offset + size])
            for _ in range(3):
                transform_block(block, order)
            chunk[offset:offset + size] = block
            offset += size
        transform_tail(chunk, tail)
        result += chunk
    return result


def pattern(size):
    return bytes((i * 7 + i // 4097 + size) % 256 for i in range(size))


def shown(text):
    digest = 0x811C9DC5
    for byte in text:
        digest = (digest ^ byte) * 0x01000193 & 0xFFFFFFFF
    return digest if len(text) > 20 else text.hex()


for size, order in (1, "little"), (10, "little"), (16, "little"), (16, "big"), (20, "little"), (300, "little"), (600, "big"):
    print(size, order, shown(transformed(pattern(size), decrypt_block, decrypt_tail, order)),
          shown(transformed(pattern(size), encrypt_block, encrypt_tail, order)))
for size in PIECE // 2 + 10, PIECE + 10:
    print(size, shown(transformed(pattern(size), decrypt_block, decrypt_tail)))
