"""Reads database files by the tables of docs/file_format.md, and by nothing else of this project.

    nyx_file_reader.py PAGE FILE    prints the header and the blocks as JSON
"""
import ctypes
import ctypes.util
import json
import re
import sys


class FORMAT_ERROR(Exception):
    """The file isn't what the page tells."""


def tables(page):
    """The tables of the page by the name of their third column: rows of (field, offset, bytes) as texts."""
    result = {}
    rows = None
    with open(page, encoding="utf-8") as file:
        for line in file:
            cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
            if not line.startswith("|"):
                rows = None
            elif cells[:2] == ["offset", "bytes"]:
                rows = result.setdefault(cells[2], [])
            elif rows is not None and not set(line) <= set("|-\n"):
                rows.append((cells[2], cells[0], cells[1]))
    return result


def evaluate(expression, names):
    """The value of a sum or product of numbers and names of fields."""
    for name in sorted(names, key=len, reverse=True):
        expression = re.sub(rf"\b{re.escape(name)}\b", str(names[name]), expression)
    if not re.fullmatch(r"[0-9+\-* ]+", expression):
        raise FORMAT_ERROR(f"the page has an expression that can't be computed: {expression}")
    return eval(expression)  # pylint: disable=eval-used


def read_fields(table, data, start, names):
    """The fields of a table in `data` from `start` on: numbers for up to 8 bytes, else bytes. Also their total."""
    fields = {}
    end = 0
    for field, offset, width in table:
        known = {**names, **fields_as_numbers(fields)}
        offset, width = evaluate(offset, known), evaluate(width, known)
        if offset != end:
            raise FORMAT_ERROR(f"the page puts {field} at {offset}, but the field in front ends at {end}")
        raw = data[start + offset:start + offset + width]
        if len(raw) != width:
            raise FORMAT_ERROR(f"{field} is cut short")
        is_number = width in (1, 4, 8) and field not in ("magic", "tag")
        fields[field] = int.from_bytes(raw, "little") if is_number else raw
        if field == "tag length":
            if not is_number:
                raise FORMAT_ERROR("the length of the tag is no number")
            names = {**names, "L": fields[field]}
        end = offset + width
    return fields, end


def fields_as_numbers(fields):
    return {name: value for name, value in fields.items() if isinstance(value, int)}


def load(library):
    return ctypes.CDLL(ctypes.util.find_library(library) or f"lib{library}.so.1")


def decompress_lz4(block, capacity):
    out = ctypes.create_string_buffer(capacity)
    size = load("lz4").LZ4_decompress_safe(block, out, len(block), capacity)
    if size < 0:
        raise FORMAT_ERROR("an LZ4 block does not decompress")
    return out.raw[:size]


def decompress_zstd(block, capacity):
    library = load("zstd")
    library.ZSTD_decompress.restype = ctypes.c_size_t
    out = ctypes.create_string_buffer(capacity)
    size = library.ZSTD_decompress(out, ctypes.c_size_t(capacity), block, ctypes.c_size_t(len(block)))
    if library.ZSTD_isError(ctypes.c_size_t(size)):
        raise FORMAT_ERROR("a Zstandard frame does not decompress")
    return out.raw[:size]


def bound(algorithm, chunk_size):
    if algorithm == 1:
        return chunk_size + chunk_size // 255 + 16 if chunk_size <= 0x7E000000 else 0
    return chunk_size + chunk_size // 256 + ((0x20000 - chunk_size) // 2048 if chunk_size < 0x20000 else 0)


def decode(header, frame_table):
    payload, size = header["payload"], header["data size"]
    algorithm, chunk_size = header["algorithm"], header["chunk size"]
    if algorithm == 0:
        if len(payload) != size:
            raise FORMAT_ERROR("the raw payload has another size than the image")
        return payload
    decompress = {1: decompress_lz4, 2: decompress_zstd}[algorithm]
    image = bytearray()
    at = 0
    while len(image) < size:
        word = int.from_bytes(payload[at:at + 4], "little")
        if not 0 < word <= bound(algorithm, chunk_size):
            raise FORMAT_ERROR("a block size is out of bounds")
        frame, length = read_fields(frame_table, payload, at, {})
        chunk = decompress(bytes(frame["block"]) if isinstance(frame["block"], bytes)
                           else frame["block"].to_bytes(word, "little"), chunk_size)
        if len(chunk) != min(chunk_size, size - len(image)):
            raise FORMAT_ERROR("a chunk has another size")
        image += chunk
        at += length
    if at != len(payload):
        raise FORMAT_ERROR("there are bytes behind the last frame")
    return bytes(image)


def walk(image, all_tables):
    """(offset, units, allocated) of each block but the end block; checks what the page tells of them."""
    control, end = read_fields(all_tables["image"], image, 0, {})
    if control["zero"] != 0 or any(control["reserved"]) or control["size"] != len(image) or end != len(image):
        raise FORMAT_ERROR("the control area is wrong")
    first = next(evaluate(offset, {}) for field, offset, _ in all_tables["image"] if field == "blocks")
    previous, units = all_tables["block"][0], all_tables["block"][1]

    def words(at):
        values = [int.from_bytes(image[at + int(offset):at + int(offset) + int(width)], "little")
                  for _, offset, width in (previous, units)]
        return values[0], values[1] & (1 << 62) - 1, values[1] >> 62 & 1, values[1] >> 63

    end_units = words(first)[0]
    end_block = first + end_units * 8
    if end_block != first + ((len(image) - first) // 8 - 2) * 8:
        raise FORMAT_ERROR("the end block lies elsewhere")
    if words(end_block)[1] != end_units or not words(end_block)[3]:
        raise FORMAT_ERROR("the end block is none")
    blocks = []
    at = first
    allocated_bytes = 0
    previous_free = False
    while at != end_block:
        _, size, _, allocated = words(at)
        if size < 5 or at + size * 8 > end_block:
            raise FORMAT_ERROR(f"the block at {at} has {size} units")
        next_previous, _, next_flag, _ = words(at + size * 8)
        if next_flag != allocated or (not allocated and (next_previous != size or previous_free)):
            raise FORMAT_ERROR(f"the block at {at} and the next one disagree")
        allocated_bytes += size * 8 * allocated
        previous_free = not allocated
        blocks.append((at, size, bool(allocated)))
        at += size * 8
    if allocated_bytes != control["allocated"]:
        raise FORMAT_ERROR("the allocated bytes do not sum up")
    return blocks


def read(page, path):
    """The header without the payload, the image, and its blocks."""
    all_tables = tables(page)
    with open(path, "rb") as file:
        data = file.read()
    header, end = read_fields(all_tables["field"], data, 0, {})
    if header["magic"] != b"NYX!" or end != len(data):
        raise FORMAT_ERROR("no database file, or bytes behind its payload")
    image = decode(header, all_tables["frame"])
    del header["payload"]
    return header, image, walk(image, all_tables)


def main():
    header, _, blocks = read(sys.argv[1], sys.argv[2])
    header = {name: value.decode("latin-1") if isinstance(value, bytes) else value for name, value in header.items()}
    json.dump({"header": header, "blocks": blocks}, sys.stdout)


if __name__ == "__main__":
    main()
