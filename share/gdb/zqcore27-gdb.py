"""gdb pretty printers for the classes of zqcore27.

gdb loads this file by itself with the library when it lies in its auto-load directory, under the library's own path.
By hand: source zqcore27-gdb.py. The printers read the objects' memory and call nothing, so they serve core files too;
they need the library's debugging information.
"""

import gdb
import gdb.printing

MAX_RUNS = 200  # of bits that are shown; gdb's own `print elements` bounds everything else


def vector_size(value):
    """The number of elements of a std::vector of libstdc++."""
    return int(value["_M_impl"]["_M_finish"] - value["_M_impl"]["_M_start"])


def vector(value):
    """The elements of a std::vector of libstdc++, one by one: gdb stops asking when it has shown enough."""
    for i in range(vector_size(value)):
        yield value["_M_impl"]["_M_start"][i]


def owned(value):
    """The pointer in a std::unique_ptr of libstdc++, which is its only contents."""
    target = value.type.strip_typedefs().template_argument(0)
    return value.address.cast(target.pointer().pointer()).dereference()


def is_error(value_type):
    """Whether the class is Error or derived from it."""
    if value_type.code != gdb.TYPE_CODE_STRUCT:
        return False
    if value_type.name in ("zqcore27::Error", "Error"):
        return True
    return any(field.is_base_class and is_error(field.type.strip_typedefs()) for field in value_type.fields())


def hexadecimal(value):
    return "0x%08X" % (int(value) & 0xFFFFFFFF)


class TextPrinter:
    """A String, or a WideString, whose length counts the terminator."""

    def __init__(self, value, terminators=0):
        self.value = value
        self.units = max(int(value["fLength"]) - terminators, 0)

    def to_string(self):
        return self.value["fData"].cast(gdb.lookup_type("char16_t").pointer()).lazy_string(length=self.units)

    def display_hint(self):
        return "string"


class WidePrinter(TextPrinter):
    def __init__(self, value):
        super().__init__(value, 1)


class NatPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        data = self.value["fData"].cast(gdb.lookup_type("char").pointer())
        return data.lazy_string(length=max(int(self.value["fLength"]) - 1, 0))

    def display_hint(self):
        return "string"


class ErrorPrinter:
    """Class, code and fatal flag; the words, if somebody asked for them; the inserts. No catalogue is read."""

    def __init__(self, value):
        if value.type.code == gdb.TYPE_CODE_REF:
            value = value.referenced_value()
        self.value = value
        self.error = value.cast(gdb.lookup_type("zqcore27::Error"))

    def to_string(self):
        name = str(self.value.dynamic_type.unqualified()).removeprefix("zqcore27::")
        return "%s %s%s" % (name, hexadecimal(self.error["fCode"]), ", fatal" if self.error["fFatal"] else "")

    def children(self):
        if int(self.error["fDescription"]["fLength"]) != 0:
            yield "words", self.error["fDescription"]
        for i, insert in enumerate(vector(self.error["fInserts"])):
            insert = insert.cast(insert.dynamic_type).dereference()
            fields = {field.name for field in insert.type.fields()}
            if "fText" in fields:
                yield "insert %d" % (i + 1), insert["fText"]
            elif "fHandle" in fields:
                yield "insert %d" % (i + 1), "text " + hexadecimal(insert["fHandle"])
            elif "fError" in fields:
                yield "insert %d" % (i + 1), insert["fError"]
            else:
                yield "insert %d" % (i + 1), insert


class BitmapPrinter:
    """The size and the runs of bits that are set. Spare bits aren't shown."""

    def __init__(self, value):
        self.value = value

    def runs(self):
        size, words = int(self.value["fSizeInBits"]), self.value["fBits"]
        first = None
        for i in range(0, size, 32):
            word = int(words[i // 32])
            if word == (0 if first is None else 0xFFFFFFFF):
                continue
            for bit in range(i, min(i + 32, size)):
                state = word >> (bit - i) & 1
                if state and first is None:
                    first = bit
                elif not state and first is not None:
                    yield first, bit - 1
                    first = None
        if first is not None:
            yield first, size - 1

    def to_string(self):
        shown = []
        for first, last in self.runs():
            if len(shown) == MAX_RUNS:
                shown.append("...")
                break
            shown.append(str(first) if first == last else "%d-%d" % (first, last))
        return "%d bits, set: %s" % (int(self.value["fSizeInBits"]), " ".join(shown) or "none")


class LocatorPrinter(TextPrinter):
    """The whole path."""

    def __init__(self, value):
        super().__init__(value["fPath"])


def block_count(store):
    superblocks = store["fSuperBlocks"]
    count = vector_size(superblocks)
    return int(owned(superblocks["_M_impl"]["_M_finish"][-1]).dereference()["fLast"]) + 1 if count else 0


def blocks(store):
    """(index, pointer to the data, bytes) of each block of a SupaBlock, off the bodies alone."""
    word = gdb.lookup_type("unsigned int").pointer()
    for superblock in vector(store["fSuperBlocks"]):
        superblock = owned(superblock).dereference()
        at, index = superblock["fBody"]["fData"], int(superblock["fFirst"])
        end = at + int(superblock["fUsed"])
        while index <= int(superblock["fLast"]) and int(at) + 4 <= int(end):
            size = int(at.cast(word).dereference())
            if size > int(end) - int(at) - 4:
                return  # damaged: what follows isn't a block
            yield index, at + 4, size
            at, index = at + 4 + size, index + 1


class StorePrinter:
    """The number of blocks and superblocks, and the bytes of each block."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "SupaBlock of %d blocks in %d superblocks" % (
            block_count(self.value), vector_size(self.value["fSuperBlocks"]))

    def children(self):
        byte = gdb.lookup_type("unsigned char")
        for index, data, size in blocks(self.value):
            yield "[%d]" % index, data.cast(byte.array(size - 1).pointer()).dereference() if size else "empty"

    def display_hint(self):
        return "array"


class TreePrinter:
    """The root and, for each node that has children, their runs of indexes."""

    def __init__(self, value):
        self.value = value

    def store(self):
        store = owned(self.value["fStore"])
        return store.dereference() if int(store) != 0 else None

    def to_string(self):
        root, store = int(self.value["fRoot"]), self.store()
        count = block_count(store) if store is not None else 0
        return "SBTree of %d nodes, root %s" % (count, "none" if root == 0xFFFFFFFF else root)

    def children(self):
        store = self.store()
        word = gdb.lookup_type("unsigned int").pointer()
        for index, data, size in blocks(store) if store is not None else ():
            words = data.cast(word)
            runs = [(int(words[i]), int(words[i + 1])) for i in range(0, size // 8 * 2, 2)]
            if runs:
                text = " ".join(str(a) if a == b else "%d-%d" % (a, b) for a, b in runs)
                yield "[%d]" % index, text

    def display_hint(self):
        return "array"


class Printers(gdb.printing.PrettyPrinter):
    PRINTERS = {
        "String": TextPrinter,
        "WideString": WidePrinter,
        "NatString": NatPrinter,
        "Bitmap": BitmapPrinter,
        "FileLocator": LocatorPrinter,
        "SupaBlock": StorePrinter,
        "SBTree": TreePrinter,
    }

    def __init__(self):
        super().__init__("zqcore27", [gdb.printing.SubPrettyPrinter(name) for name in [*self.PRINTERS, "Error"]])
        self.enabled_for = {printer.name: printer for printer in self.subprinters}

    def __call__(self, value):
        value_type = gdb.types.get_basic_type(value.type)
        if value_type.code != gdb.TYPE_CODE_STRUCT or value_type.name is None:
            return None
        name = value_type.name.removeprefix("zqcore27::")
        if name in self.PRINTERS and name != value_type.name:
            return self.PRINTERS[name](value) if self.enabled_for[name].enabled else None
        if is_error(value_type) and self.enabled_for["Error"].enabled:
            return ErrorPrinter(value)
        return None


gdb.printing.register_pretty_printer(gdb.current_objfile(), Printers(), replace=True)
