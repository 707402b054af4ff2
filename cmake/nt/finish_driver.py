#!/usr/bin/env python3
"""Finishes a linked driver: tells the kernel which sections it may discard and page.

    finish_driver.py FILE.sys

The compiler gives a section a name and no more, and the linker writes the same flags for all code.
The kernel gives the memory of a discardable section back once DriverEntry has returned, may page
out what is named PAGE, and keeps the rest. The file's checksum covers the flags, so it comes last.
"""
import struct
import sys

NEW_HEADER_OFFSET = 0x3C
SIGNATURE_SIZE = 4
FILE_HEADER_SIZE = 20
CHECKSUM_IN_OPTIONAL_HEADER = 64
SECTION_HEADER_SIZE = 40
FLAGS_IN_SECTION_HEADER = 36

DISCARDABLE = 0x02000000
NOT_PAGED = 0x08000000


def finished_flags(name, flags):
  if name == b"INIT":
    flags |= DISCARDABLE
  is_resident = not flags & DISCARDABLE and not name.startswith(b"PAGE")
  return flags | NOT_PAGED if is_resident else flags & ~NOT_PAGED


def checksum(image, field):
  """The sum of all 16-bit words but those of the field itself, carries added in, and the size."""
  image = bytes(image[:field]) + bytes(4) + bytes(image[field + 4:])
  padded = image + bytes(len(image) % 2)
  total = sum(struct.unpack(f"<{len(padded) // 2}H", padded))
  while total > 0xFFFF:
    total = (total & 0xFFFF) + (total >> 16)
  return total + len(image)


def finish(image):
  file_header = struct.unpack_from("<I", image, NEW_HEADER_OFFSET)[0] + SIGNATURE_SIZE
  section_count = struct.unpack_from("<H", image, file_header + 2)[0]
  optional_header = file_header + FILE_HEADER_SIZE
  section = optional_header + struct.unpack_from("<H", image, file_header + 16)[0]
  for _ in range(section_count):
    name = bytes(image[section:section + 8]).rstrip(b"\0")
    field = section + FLAGS_IN_SECTION_HEADER
    flags = struct.unpack_from("<I", image, field)[0]
    struct.pack_into("<I", image, field, finished_flags(name, flags))
    section += SECTION_HEADER_SIZE
  field = optional_header + CHECKSUM_IN_OPTIONAL_HEADER
  struct.pack_into("<I", image, field, checksum(image, field))


def main():
  if len(sys.argv) != 2:
    sys.exit("usage: finish_driver.py FILE.sys")
  with open(sys.argv[1], "r+b") as file:
    image = bytearray(file.read())
    finish(image)
    file.seek(0)
    file.write(image)


if __name__ == "__main__":
  main()
