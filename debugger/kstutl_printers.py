"""Shows the library's strings, containers, paths, sections and exceptions in GDB.

    (gdb) source PREFIX/share/kstutl/gdb/kstutl_printers.py

The Debian packages have it where GDB loads it by itself. Containers are shown by the
printers of the standard library, which come with the compiler.
"""

import gdb
import gdb.printing


def text_of(string):
    """The bytes of a cow_String as a value that GDB prints as a text."""
    text = string['text_']
    tag = int(text['bytes'][23]) & 0xFF
    if tag == 0xFF:
        return text['shared']['chars'].lazy_string(length=int(text['shared']['length']))
    if tag > 23:
        raise gdb.MemoryError('no cow_String, or not made yet')
    return text['bytes'][0].address.lazy_string(length=23 - tag)


def plain_text(string):
    """The same as a text of Python."""
    lazy = text_of(string)
    if lazy.length == 0:
        return ''
    return bytes(gdb.selected_inferior().read_memory(lazy.address, lazy.length)).decode(
        'utf-8', 'replace')


def standard_text(pointer):
    """The text of a std::shared_ptr<const std::string>, '' for null."""
    string = pointer['_M_ptr']
    if int(string) == 0:
        return ''
    string = string.dereference()
    length = int(string['_M_string_length'])
    return string['_M_dataplus']['_M_p'].string('utf-8', 'replace', length)


def owned(pointer):
    """The pointer in a std::unique_ptr, which has nothing else in it."""
    kind = pointer.type.strip_typedefs().template_argument(0).pointer()
    return pointer.address.cast(kind.pointer()).dereference()


class CowString:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return text_of(self.value)

    def display_hint(self):
        return 'string'


class AtrString:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return standard_text(self.value['text_'])

    def display_hint(self):
        return 'string'


class Container:
    """cow_List, cow_1DArray and cow_Map: a handle of a standard container, or null."""

    def __init__(self, value):
        self.name = value.type.strip_typedefs().unqualified().name.split('<')[0]
        shared = value['shared_']['object_']
        self.items = shared.dereference()['items'] if int(shared) != 0 else None
        self.standard = None
        if self.items is not None:
            self.standard = gdb.default_visualizer(self.items)

    def to_string(self):
        return self.name if self.items is not None else self.name + ', empty'

    def children(self):
        if self.standard is not None:
            return self.standard.children()
        # Without the standard library's printers it is shown as it is.
        return iter([] if self.items is None else [('items', self.items)])

    def display_hint(self):
        if self.standard is None:
            return None
        return 'map' if self.name == 'cow_Map' else 'array'


class FilePath:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        parts = ['baseName_']
        if not (self.value['isUrl_'] or self.value['isNetworkConnector_']):
            parts = ['directory_', 'subdirectory_', 'baseName_', 'extension_']
        return ''.join(plain_text(self.value[part]) for part in parts)

    def display_hint(self):
        return 'string'


class FileOffset:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return str(int(self.value['bytes_']))


class SectionInfo:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return '"%s", %d bytes, checksum %08x' % (
            plain_text(self.value['name']), int(self.value['length']),
            int(self.value['checksum']))


class SectionDirectory:
    """The sections of a file, by their names. Their type is known where the library was
    built with debugging information."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return '%d sections' % self.count()

    def vector(self, name):
        return self.value[name]['_M_impl']

    def count(self):
        ends = self.vector('nameEnds_')
        return int(ends['_M_finish'] - ends['_M_start'])

    def children(self):
        names = self.vector('names_')['_M_start']
        start = 0
        for i in range(self.count()):
            end = int(self.vector('nameEnds_')['_M_start'][i])
            name = names[start].address.lazy_string(length=end - start)
            section = self.vector('sections_')['_M_start'][i]
            yield 'name %d' % i, name
            yield 'bytes %d' % i, section['length']
            start = end

    def display_hint(self):
        return 'map'


class MultisectionFile:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return 'sections of "%s"' % plain_text(self.value['path_'])

    def children(self):
        directory = owned(self.value['directory_'])
        # Of a type that is only declared nothing is known.
        if int(directory) != 0 and directory.type.target().strip_typedefs().sizeof > 1:
            yield from SectionDirectory(directory.dereference()).children()

    def display_hint(self):
        return 'map'


class NexException:
    """Any exception of the library: its class, text and place."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        text = standard_text(self.value['text_']['text_']).rstrip()
        place = self.value['sourceFile_'].string('utf-8', 'replace')
        if place:
            text += ' (%s, line %d)' % (place, int(self.value['sourceLine_']))
        return '%s: %s' % (self.value.dynamic_type.unqualified().name, text)


PRINTERS = {
    'cow_String': CowString,
    'atr_String': AtrString,
    'cow_List': Container,
    'cow_1DArray': Container,
    'cow_Map': Container,
    'utl_FilePath': FilePath,
    'utl_FileOffset': FileOffset,
    'utl_SectionInfo': SectionInfo,
    'utl_SectionDirectory': SectionDirectory,
    'utl_MultisectionFile': MultisectionFile,
}


def is_text_exception(kind):
    return kind.name == 'nex_TextException' or any(
        field.is_base_class and is_text_exception(field.type.strip_typedefs())
        for field in kind.fields())


class Printers:
    """What GDB asks for a printer; a value without one is shown as it is."""

    name = 'KSTutl'
    enabled = True
    subprinters = None

    def __call__(self, value):
        kind = value.type.strip_typedefs().unqualified()
        if kind.code != gdb.TYPE_CODE_STRUCT or kind.name is None:
            return None
        printer = PRINTERS.get(kind.name.split('<')[0])
        if printer is None and is_text_exception(kind):
            printer = NexException
        return printer(value) if printer is not None else None


gdb.printing.register_pretty_printer(gdb.current_objfile(), Printers(), replace=True)
