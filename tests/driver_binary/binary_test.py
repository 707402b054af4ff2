#!/usr/bin/env python3
"""Looks at the driver binary as the kernel's loader will: format, sections, imports, code.

    binary_test.py FILE.sys IMPORTS VERSION

IMPORTS lists every import, "module symbol", and what follows a # is for readers. Nothing here can
load the binary, so each fault that would show at a load must show here: the second test damages the
binary in every way that the checks are for, and sees them find it.
"""
import re
import subprocess
import sys
import tempfile
import unittest

import pefile

TOOLS = "i686-w64-mingw32-"

EXECUTABLE, WRITABLE = 0x20000000, 0x80000000
DISCARDABLE, NOT_PAGED = 0x02000000, 0x08000000
RELOCATIONS_STRIPPED = 0x0001
RELOCATE_WORD = pefile.RELOCATION_TYPE["IMAGE_REL_BASED_HIGHLOW"]

MACHINE_I386 = 0x014C
SUBSYSTEM_NATIVE = 1
ABSENT_DIRECTORIES = {0: "exports", 9: "thread-local storage", 13: "delayed imports"}
EXPORTS, RESOURCES, RELOCATIONS = 0, 2, 5

# What belongs to MMX and SSE: their registers, and the instructions that name none.
VECTOR_CODE = re.compile(r"%[xyz]?mm\d|\b(emms|ldmxcsr|stmxcsr)\b")


def output_of(tool, *arguments):
  """Nothing where the tool does not know the file, which is a fault like others."""
  return subprocess.run([TOOLS + tool, *arguments], check=False, capture_output=True,
                        text=True).stdout


class Binary:
  def __init__(self, content):
    self.pe = pefile.PE(data=content)
    with tempfile.NamedTemporaryFile(suffix=".sys") as file:
      file.write(content)
      file.flush()
      self.symbols = self._symbols(output_of("nm", file.name))
      self.code = output_of("objdump", "-d", "--no-show-raw-insn", file.name)

  def _symbols(self, listing):
    base = self.pe.OPTIONAL_HEADER.ImageBase
    lines = (line.split() for line in listing.splitlines())
    return {words[2]: int(words[0], 16) - base for words in lines if len(words) == 3}

  def address_of(self, function):
    """Of a function with C linkage or in C++ without a scope; None without its symbol."""
    mangled = re.compile(rf"_{function}@\d+|__Z{len(function)}{function}[A-Z].*")
    return next((at for name, at in self.symbols.items() if mangled.fullmatch(name)), None)

  def section_at(self, address):
    return next((s for s in self.pe.sections if s.contains_rva(address)), None)

  def imports(self):
    modules = getattr(self.pe, "DIRECTORY_ENTRY_IMPORT", [])
    return {f"{module.dll.decode()} {symbol.name.decode() if symbol.name else symbol.ordinal}"
            for module in modules for symbol in module.imports}


def name_of(section):
  return section.Name.rstrip(b"\0").decode() if section is not None else "no section"


def header_faults(binary):
  file, optional = binary.pe.FILE_HEADER, binary.pe.OPTIONAL_HEADER
  if optional.Magic != pefile.OPTIONAL_HEADER_MAGIC_PE:
    yield "not PE32"
  if file.Machine != MACHINE_I386:
    yield f"built for machine {file.Machine:#x}"
  if optional.Subsystem != SUBSYSTEM_NATIVE:
    yield f"subsystem {optional.Subsystem} is not the native one"
  system = (optional.MajorSubsystemVersion, optional.MinorSubsystemVersion)
  if system != (5, 1):
    yield f"asks for system version {system}"
  if file.TimeDateStamp != 0:
    yield "a time stamp, so that no two builds are equal"
  if optional.CheckSum != binary.pe.generate_checksum():
    yield "the checksum is wrong"
  for number, what in ABSENT_DIRECTORIES.items():
    if optional.DATA_DIRECTORY[number].VirtualAddress != 0:
      yield f"has {what}"


def relocation_faults(binary):
  if binary.pe.FILE_HEADER.Characteristics & RELOCATIONS_STRIPPED:
    yield "the relocations are stripped"
  blocks = getattr(binary.pe, "DIRECTORY_ENTRY_BASERELOC", [])
  if not any(entry.type == RELOCATE_WORD for block in blocks for entry in block.entries):
    yield "no address is relocated"


def section_faults(binary):
  for section in binary.pe.sections:
    name, flags = name_of(section), section.Characteristics
    if flags & EXECUTABLE and flags & WRITABLE:
      yield f"{name} is writable and executable"
    if name.startswith("PAGE"):
      if flags & (NOT_PAGED | DISCARDABLE) or not flags & EXECUTABLE:
        yield f"{name} is not pageable code"
    elif name == "INIT":
      if not flags & DISCARDABLE or not flags & EXECUTABLE:
        yield "INIT is not discardable code"
    elif flags & EXECUTABLE and (name != ".text" or flags & DISCARDABLE or not flags & NOT_PAGED):
      yield f"{name} is not resident code"


def placement_faults(binary):
  if binary.address_of("DriverEntry") != binary.pe.OPTIONAL_HEADER.AddressOfEntryPoint:
    yield "the entry is not DriverEntry"
  for function, place in (("DriverEntry", "INIT"), ("FilterAddDevice", "PAGE"),
                          ("FilterUnload", "PAGE"), ("FilterDispatch", ".text")):
    address = binary.address_of(function)
    section = None if address is None else binary.section_at(address)
    if section is None or not name_of(section).startswith(place):
      yield f"{function} lies in {name_of(section)}, not in {place}"


def import_faults(binary, listed):
  imports = binary.imports()
  yield from (f"{name} is imported and not listed" for name in sorted(imports - listed))
  yield from (f"{name} is listed and not imported" for name in sorted(listed - imports))
  modules = {name.split()[0].lower() for name in imports}
  yield from (f"imports from {name}" for name in sorted(modules - {"ntoskrnl.exe", "hal.dll"}))


def code_faults(binary):
  if "<_DriverEntry@8>:" not in binary.code:
    yield "the code cannot be read"
  for line in binary.code.splitlines():
    if VECTOR_CODE.search(line):
      yield f"vector code: {line.strip()}"
  if any(name.startswith("__GLOBAL__sub_I_") for name in binary.symbols):
    yield "static constructors, which nothing runs"


def version_faults(binary, version):
  expected = tuple(int(number) for number in version.split(".")) + (0,)
  fixed = getattr(binary.pe, "VS_FIXEDFILEINFO", None)
  if not fixed:
    yield "no version resource"
    return
  for what in ("FileVersion", "ProductVersion"):
    high, low = getattr(fixed[0], what + "MS"), getattr(fixed[0], what + "LS")
    found = (high >> 16, high & 0xFFFF, low >> 16, low & 0xFFFF)
    if found != expected:
      yield f"{what} {found} is not {expected}"


def faults_of(content, listed, version):
  binary = Binary(content)
  return [*header_faults(binary), *relocation_faults(binary), *section_faults(binary),
          *placement_faults(binary), *import_faults(binary, listed), *code_faults(binary),
          *version_faults(binary, version)]


def read_imports(path):
  with open(path, encoding="ascii") as file:
    lines = (line.partition("#")[0].split() for line in file)
    return {" ".join(words) for words in lines if words}


# The damages. Each gets the parsed binary and changes it; the checksum is made right behind it.

def section_named(pe, name):
  return next(s for s in pe.sections if name_of(s) == name)


def set_field(structure, field, value):
  return lambda pe: setattr(getattr(pe, structure), field, value)


def set_flag(section, flag):
  return lambda pe: setattr(section_named(pe, section), "Characteristics",
                            section_named(pe, section).Characteristics | flag)


def clear_flag(section, flag):
  return lambda pe: setattr(section_named(pe, section), "Characteristics",
                            section_named(pe, section).Characteristics & ~flag)


def rename(section, name):
  return lambda pe: setattr(section_named(pe, section), "Name", name.ljust(8, b"\0"))


def set_directory(number, field, value):
  return lambda pe: setattr(pe.OPTIONAL_HEADER.DATA_DIRECTORY[number], field, value)


def move_entry(pe):
  pe.OPTIONAL_HEADER.AddressOfEntryPoint += 1


def write_at_entry(code):
  return lambda pe: pe.set_bytes_at_rva(pe.OPTIONAL_HEADER.AddressOfEntryPoint, code)


DAMAGES = (
    ("64 bits", set_field("OPTIONAL_HEADER", "Magic", 0x20B), "not PE32"),
    ("another processor", set_field("FILE_HEADER", "Machine", 0x8664), "built for machine 0x8664"),
    ("for a console", set_field("OPTIONAL_HEADER", "Subsystem", 3), "subsystem 3"),
    ("for a later system", set_field("OPTIONAL_HEADER", "MajorSubsystemVersion", 6), "(6, 1)"),
    ("dated", set_field("FILE_HEADER", "TimeDateStamp", 1), "a time stamp"),
    ("exports", set_directory(EXPORTS, "VirtualAddress", 0x1000), "has exports"),
    ("relocations stripped",
     set_field("FILE_HEADER", "Characteristics", 0x0307), "relocations are stripped"),
    ("relocations empty", set_directory(RELOCATIONS, "Size", 0), "no address is relocated"),
    ("no resources", set_directory(RESOURCES, "VirtualAddress", 0), "no version resource"),
    ("self-modifying", set_flag(".text", WRITABLE), ".text is writable and executable"),
    ("never paged", set_flag("PAGE", NOT_PAGED), "PAGE is not pageable code"),
    ("paged where it runs raised", clear_flag(".text", NOT_PAGED), ".text is not resident code"),
    ("never discarded", clear_flag("INIT", DISCARDABLE), "INIT is not discardable code"),
    ("code in an unknown section", rename("PAGE", b"CODE"), "FilterAddDevice lies in CODE"),
    ("entry beside DriverEntry", move_entry, "the entry is not DriverEntry"),
    ("SSE", write_at_entry(b"\x0f\x57\xc0"), "vector code"),
    ("MMX", write_at_entry(b"\x0f\x77"), "vector code"),
)

REPLACEMENTS = (
    ("another import", b"\0DbgPrint\0", b"\0DbgXrint\0", "ntoskrnl.exe DbgXrint is imported"),
    ("an import less", b"\0DbgPrint\0", b"\0DbgXrint\0", "ntoskrnl.exe DbgPrint is listed"),
    ("another module", b"HAL.dll", b"CRT.dll", "imports from crt.dll"),
    ("static constructors", b"__Z12FilterUnload", b"__GLOBAL__sub_I_x", "static constructors"),
)


def damaged(content, damage):
  pe = pefile.PE(data=content)
  damage(pe)
  return with_checksum(bytes(pe.write()))


def with_checksum(content):
  pe = pefile.PE(data=content, fast_load=True)
  pe.OPTIONAL_HEADER.CheckSum = pe.generate_checksum()
  return bytes(pe.write())


class DriverBinary(unittest.TestCase):
  content = imports = version = None

  def assert_found(self, fault, content, version=None):
    found = faults_of(content, self.imports, version or self.version)
    self.assertTrue(any(fault in text for text in found), f"not found: {fault}; but {found}")

  def test_has_no_fault(self):
    self.assertEqual(faults_of(self.content, self.imports, self.version), [])

  def test_damage_is_found(self):
    for name, damage, fault in DAMAGES:
      with self.subTest(name):
        self.assert_found(fault, damaged(self.content, damage))
    for name, before, after, fault in REPLACEMENTS:
      with self.subTest(name):
        self.assertIn(before, self.content)
        self.assert_found(fault, with_checksum(self.content.replace(before, after)))
    with self.subTest("another version"):
      self.assert_found("FileVersion", self.content, "65535.0.0")
    with self.subTest("changed behind the checksum"):
      at = self.content.index(b"This program")
      self.assert_found("checksum", self.content[:at] + b"t" + self.content[at + 1:])


if __name__ == "__main__":
  if len(sys.argv) != 4:
    sys.exit("usage: binary_test.py FILE.sys IMPORTS VERSION")
  with open(sys.argv[1], "rb") as sys_file:
    DriverBinary.content = sys_file.read()
  DriverBinary.imports = read_imports(sys.argv[2])
  DriverBinary.version = sys.argv[3]
  unittest.main(argv=sys.argv[:1])
