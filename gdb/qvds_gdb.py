"""Shows the containers of qvds in gdb: printers for the records of C and the classes of C++, and
the commands `qvds foreach`, `qvds find`, `qvds tree` and `qvds check`. docs/debugging.md is the
guide.

How it is made. A container is a record and a way over its elements; whether C or a class of C++
owns the record makes no difference to the way. So there is one class here for each family (Lifo,
Fifo, ..., AATree), which knows

    items()     the elements in order, each an Item with its address and where it stands,
    describe()  what a summary says of them,
    check()     the numbered invariants of the family's header.

One printer and four commands serve them all. container_of() picks the family by a value's type.
What an element is, and how far into it the link lies, is an Elements: unknown in C, where elements
are `void *` until a command is told their type, and read from the template's arguments in C++.

Whatever a debugger looks at may be broken. Every walk remembers where it has been, and ends with
Stray at an element that is met twice or at memory that can't be read; printers turn that into a
note, and `qvds check` into the invariant that it breaks. Printers stop after LIMIT elements, or
`print elements` if that is more. Nothing here calls a function of the program, but `qvds check`
where it is asked to.

Nodes are read as bytes, by formats of the struct module, which is faster than by fields and does
not need their types; the library is for 64-bit platforms alone.
"""

import re
import struct

import gdb
import gdb.printing
import gdb.types

LIMIT = 10000  # how many elements a printer goes over to count them

# -- Reading memory ------------------------------------------------------------------------------

byte_order = "<"


def ask_byte_order():
    """Of the program, which may not be the one of the last time."""
    global byte_order
    byte_order = ">" if "big" in gdb.execute("show endian", to_string=True) else "<"


def read(layout, address):
    """The fields of a node: Q a word, I and H and B numbers of 4, 2 and 1 bytes, x padding."""
    layout = byte_order + layout
    memory = gdb.selected_inferior().read_memory(address, struct.calcsize(layout))
    return struct.unpack(layout, memory)


def word(address):
    return read("Q", address)[0]


def words(address, count):
    """An array of words, a page at a time."""
    while count > 0:
        part = min(count, 512)
        yield from read(f"{part}Q", address)
        address += 8 * part
        count -= part


def void_pointer(address):
    return gdb.Value(address).cast(gdb.lookup_type("void").pointer())


def number(value):
    """An integer, an address, or the offset that a pointer to a member is."""
    if plain_type(value.type).code == gdb.TYPE_CODE_MEMBERPTR:
        value = value.cast(gdb.lookup_type("long"))
    return int(value)


def plain_type(value_type):
    """Without typedefs, const and volatile."""
    return value_type.strip_typedefs().unqualified()


# -- Walks that can't be led astray --------------------------------------------------------------


class Stray(Exception):
    """A walk came to an address that can't be the next element's."""

    def __init__(self, address, reason):
        super().__init__(address, reason)
        self.address, self.reason = address, reason


class Broken(Exception):
    """An invariant does not hold. The address is that of a link, or None for the record itself."""

    def __init__(self, invariant, address, text):
        super().__init__(invariant, address, text)
        self.invariant, self.address, self.text = invariant, address, text


def reach(node, seen, layout):
    """The fields of the node that a walk has come to."""
    if node in seen:
        raise Stray(node, "is met twice")
    seen.add(node)
    try:
        return read(layout, node)
    except gdb.MemoryError:
        raise Stray(node, "can't be read") from None


def chain(first, offset=0):
    """The elements of a chain. The word at this offset in each names the next one."""
    seen = set()
    while first:
        after = reach(first, seen, f"{offset}xQ")[0]
        yield first
        first = after


def array(address, count):
    """The slots of an array, numbered."""
    try:
        yield from enumerate(words(address, count))
    except gdb.MemoryError:
        raise Stray(address, "can't be read") from None


# -- Elements ------------------------------------------------------------------------------------


class Elements:
    """The type of the elements, None where it isn't known, and where in them the link lies."""

    def __init__(self, element_type=None, offset=0):
        self.type, self.offset = element_type, offset

    def pointer(self, link):
        """A pointer to the element with this link."""
        if self.type is None:
            return void_pointer(link)
        return gdb.Value(link - self.offset).cast(self.type.pointer())

    def shown(self, link):
        """What a printer shows of it: the element itself if its type is known."""
        pointer = self.pointer(link)
        return pointer if self.type is None or not link else pointer.dereference()

    def name(self, link):
        """Its address in words."""
        return str(void_pointer(link - self.offset if link else 0))


class Item:
    """An element met by a walk: the address of its link, the place where it stands (a bucket, a
    slot, a day) and a label that says so; if it has them, a key, and what to show instead."""

    def __init__(self, link, place=0, label=None, key=None, shown=None):
        self.link, self.place, self.label, self.key, self.shown = link, place, label, key, shown


def count_of(n, noun, more=False):
    nouns = noun if n == 1 else "entries" if noun == "entry" else noun + "s"
    return ("more than " if more else "") + (f"{n} {nouns}" if n else f"no {nouns}")


NOT_ASKED = "I{} was not looked at: that takes calls of the {}"

# -- Families ------------------------------------------------------------------------------------


class Family:
    """What all of them share."""

    noun = "element"
    hint = "array"  # how gdb lays out the children: "array", "map", or None for labels
    invariants = (1,)

    def __init__(self, record, elements, title):
        self.record, self.elements, self.title = record, elements, title

    def field(self, name):
        return number(self.record[name])

    def survey(self, limit=None):
        """Goes over the elements: a list, whether there are more, and where the walk strayed."""
        items = []
        try:
            for item in self.items():
                if len(items) == limit:
                    return items, True, None
                items.append(item)
        except Stray as stray:
            return items, False, stray
        return items, False, None

    def summary(self, items, more, stray):
        """What a survey has found, in words."""
        text = self.title + self.describe(items, more)
        return f"{text}; {self.elements.name(stray.address)} {stray.reason}" if stray else text

    def describe(self, items, more):
        return " with " + count_of(len(items), self.noun, more)

    def shown(self, item):
        return item.shown if item.shown is not None else self.elements.shown(item.link)

    def check(self, call):
        """Raises Broken, or returns what else is to be said, by the number of an invariant. call is
        what calls back into the program, as call(function, argument...), or None."""
        raise NotImplementedError

    def walk_or_break(self, walk, invariant, text):
        """A walk; where it goes astray this invariant is broken."""
        try:
            yield from walk
        except Stray as stray:
            raise Broken(invariant, stray.address, f"{text} (it {stray.reason})") from None


class Lifo(Family):
    header = "lifo.h"

    def items(self):
        return (Item(link) for link in chain(self.field("top")))

    def check(self, call):
        text = "following next from top reaches every element once and ends at null"
        list(self.walk_or_break(self.items(), 1, text))
        return {}


class Fifo(Lifo):
    header = "fifo.h"
    invariants = (1, 2)

    def check_ends(self):
        if (self.field("top") == 0) != (self.field("bottom") == 0):
            raise Broken(1, None, "top and bottom are both null exactly when the queue is empty")

    def check(self, call):
        self.check_ends()
        text = "following next from top reaches bottom, whose next is null"
        last, bottom = 0, self.field("bottom")
        for item in self.walk_or_break(self.items(), 2, text):
            if last and last == bottom:
                raise Broken(2, last, text)
            last = item.link
        if last != bottom:
            raise Broken(2, last, text)
        return {}


class Fifo2(Fifo):
    header = "fifo2.h"
    invariants = (1, 2, 3)

    def check(self, call):
        self.check_ends()
        top, bottom, before = self.field("top"), self.field("bottom"), 0
        mutual = "the prev of an element's next is the element itself"
        if top and word(top + 8):
            raise Broken(2, top, "the prev of top is null")
        if bottom and word(bottom):
            raise Broken(2, bottom, "the next of bottom is null")
        for item in self.walk_or_break(self.items(), 3, mutual):
            if word(item.link + 8) != before:
                raise Broken(3, before, mutual)
            before = item.link
        if before != bottom:
            raise Broken(3, before, "following next from top reaches bottom")
        return {}


class Sloppy(Family):
    """The list of the element that the record, a pointer, names."""

    header = "sloppy.h"
    invariants = (1, 2, 3)

    def items(self):
        first = 0
        for first in chain(number(self.record), 8):  # back to the start
            pass
        yield from map(Item, chain(first))

    def describe(self, items, more):
        text = super().describe(items, more)
        at = [i for i, item in enumerate(items) if item.link == number(self.record)]
        return text + (f", the handle on [{at[0]}]" if at else "")

    def check(self, call):
        for to, back in ((8, 0), (0, 8)):
            before = 0
            text = "the first element's prev and the last element's next are null"
            for link in self.walk_or_break(chain(number(self.record), to), 1, text):
                if before and word(link + back) != before:
                    raise Broken(2, before if to == 0 else link,
                                 "the prev of an element's next is the element itself")
                before = link
        return {}


class Hash(Family):
    header = "hash.h"
    invariants = (1, 2)
    hint = None
    hash_is_callable = True

    def tables(self):
        """The record, or the two of a table that grows, of which either may have no array."""
        if not gdb.types.has_field(plain_type(self.record.type), "now"):
            return [self.record]
        return [self.record["before"], self.record["now"]]

    def slots(self):
        """The table, the number and the address of each bucket, and its first element."""
        for table in self.tables():
            buckets = number(table["buckets"])
            for i, first in array(buckets, number(table["size"])):
                yield table, i, buckets + 8 * i, first

    def items(self):
        for table, i, slot, first in self.slots():
            for link in chain(first):
                yield Item(link, slot, f"[{i}]")

    def describe(self, items, more):
        sizes = [number(table["size"]) for table in self.tables()]
        growing = " (growing)" if len(sizes) > 1 and sizes[0] else ""
        return growing + super().describe(items, more) + spread(items, sum(sizes), more)

    def check(self, call):
        text = "following next from a bucket reaches every element once and ends at null"
        for table, i, slot, first in self.walk_or_break(self.slots(), 1, "the array has buckets"):
            before = slot
            for link in self.walk_or_break(chain(first), 1, text):
                self.check_element(link, before)
                if call and self.hash_is_callable:
                    hashed = call(table["hash"], void_pointer(link))
                    if hashed % number(table["size"]) != i:
                        raise Broken(2, link, "every element is in the bucket that its hash names")
                before = link
        if call and not self.hash_is_callable:
            return {2: "I2 was not looked at: this hash has a state and can't be called"}
        return {} if call else {2: NOT_ASKED.format(2, "hash callback (-call)")}

    def check_element(self, link, before):
        pass


class Hash2(Hash):
    header = "hash2.h"
    invariants = (1, 2, 3)

    def check_element(self, link, before):
        if word(link + 8) != before:
            raise Broken(3, link, "the word that prev points at holds the element's address")


def spread(items, buckets, more):
    """How many chains have which length."""
    if more:
        return f" in {count_of(buckets, 'bucket')}"
    lengths, chains = {}, {}
    for item in items:
        lengths[item.place] = lengths.get(item.place, 0) + 1
    for length in lengths.values():
        chains[length] = chains.get(length, 0) + 1
    parts = [f"{buckets - len(lengths)} empty"]
    parts += [f"{chains[length]} of {length}" for length in sorted(chains)]
    if len(parts) > 8:
        parts[7:-1] = ["..."]
    return f" in {count_of(buckets, 'bucket')} ({', '.join(parts)})"


class Heap(Family):
    header = "heap.h"
    invariants = (1, 2)
    noun = "item"
    hint = None
    slot_member = None  # the offset of the member in which elements keep their slots

    def items(self):
        slots, count = self.field("slots"), self.field("count")
        return (Item(link, k + 1, f"[{k + 1}]") for k, link in array(slots + 8, count))

    def describe(self, items, more):
        return super().describe(items, more) + f" of at most {self.field('capacity')}"

    def check(self, call):
        text = "count items stand in slots 1 to count"
        if self.field("count") > self.field("capacity"):
            raise Broken(1, None, text)
        links = [0] + [item.link for item in self.walk_or_break(self.items(), 1, text)]
        compare = self.record["compare"]
        asked = call is not None and number(compare) != 0
        for k in range(1, len(links)):
            if asked and k > 1:
                verdict = call(compare, void_pointer(links[k // 2]), void_pointer(links[k]))
                if verdict < 0:
                    raise Broken(2, links[k], f"the item in slot {k} ranks above that in {k // 2}")
            if self.slot_member is not None and read("I", links[k] + self.slot_member)[0] != k:
                raise Broken(3, links[k], "the slot member of an element is the number of its slot")
        return {} if asked else {2: NOT_ASKED.format(2, "compare callback (-call)")}

    # As a tree, its nodes are the slots.

    def root(self):
        return min(1, self.field("count"))

    def node(self, k, seen):
        if k in seen:
            raise Stray(k, "is met twice")
        seen.add(k)
        left, right = (child if child <= self.field("count") else 0 for child in (2 * k, 2 * k + 1))
        item = next(array(self.field("slots") + 8 * k, 1))[1]
        return left, right, Item(item, k, f"[{k}]")


class Calendar(Family):
    header = "cq.h"
    invariants = (1, 2, 3)
    noun = "entry"
    hint = None
    due = 0  # the first of those that a typed calendar is about to fire

    def items(self):
        for link in chain(self.due):
            yield Item(link, None, "[due]")
        for day, first in array(self.field("buckets"), self.field("size")):
            for link in chain(first):
                yield Item(link, day, f"[day {day}, {self.entry(link)[3]}]")

    def entry(self, link):
        return read("QQQI", link)  # next, prev, user, expires

    def describe(self, items, more):
        days = count_of(self.field("size"), "day")
        return f"{super().describe(items, more)} in {days} of width {self.field('width')}"

    def check(self, call):
        text = "the prev of an entry's next is the entry itself, the prev of the first is null"
        size, width = self.field("size"), self.field("width")
        count = len(list(self.walk_or_break(chain(self.due), 2, text)))
        days = array(self.field("buckets"), size)
        for day, first in self.walk_or_break(days, 1, "the array has buckets"):
            before = 0
            for link in self.walk_or_break(chain(first), 2, text):
                _, prev, _, expires = self.entry(link)
                if prev != before:
                    raise Broken(2, before or link, text)
                if not width or expires // width % size != day:
                    raise Broken(1, link, f"it expires at {expires}, but is filed under day {day}")
                before = link
                count += 1
        if count != self.field("count"):
            raise Broken(3, None, f"count is {self.field('count')}, the number of entries {count}")
        return {}


LINK = "QBBH4xQQ"  # of a list_link: hook, state, reserved, iters, prev, next
DELETED = 2


def list_links(head):
    """The links of an owning list with their fields."""
    seen = set()
    while head:
        fields = reach(head, seen, LINK)
        yield head, fields
        head = fields[5]


class List(Family):
    """The record is the head, or any link to begin with."""

    header = "list.h"
    invariants = (1, 2, 3, 4)
    hint = None

    def items(self):
        for i, (link, (hook, state, *_)) in enumerate(list_links(number(self.record))):
            if state & DELETED:
                yield Item(hook, link, f"[{i}, deleted]", shown=void_pointer(hook))
            else:
                yield Item(hook, link, f"[{i}]")

    def describe(self, items, more):
        deleted = sum(item.shown is not None for item in items)
        text = " with " + count_of(len(items) - deleted, "live link", more)
        walks = read(LINK, number(self.record))[3] if items else 0
        return text + (f", {deleted} deleted" if deleted else "") + (
            f", {count_of(walks, 'walk')} in progress" if walks else "")

    def check(self, call):
        head = number(self.record)
        walks, before = read(LINK, head)[3:5] if head else (0, 0)
        if before and not self.title.startswith("qvds::"):  # a variable of C may be in mid-list
            check_links(self, head, before, True)
            return {n: f"I{n} was not looked at: this is a sublist" for n in (3, 4)}
        check_links(self, head, 0, walks > 0)
        return {3: f"I3 was not looked at: iters is {walks}, but gdb can't count the walks"}


def check_links(family, head, before, walked):
    """The links from head on, with the one before it, and whether some of them may be deleted."""
    text = "prev names the link before, and is null in the head"
    for link, (_, state, _, _, prev, _) in family.walk_or_break(list_links(head), 1, text):
        if prev != before:
            raise Broken(1, link, text)
        if state not in (0, DELETED):
            raise Broken(2, link, "state is 0 or LIST_STATE_DELETED")
        if state == DELETED and not walked:
            raise Broken(4, link, "deleted links exist only while a walk is in progress")
        before = link


class KeyedHash(Family):
    header = "keyed_hash.h"
    invariants = (1, 2, 3)
    noun = "entry"
    hint = "map"
    key_type = None

    def items(self):
        for slot, head in array(self.field("lists"), self.field("size")):
            for _, (hook, state, *_) in list_links(head):
                if state & DELETED:
                    continue
                key, value, _ = reach(hook, set(), "QQQ")
                yield Item(value, slot, f"[{slot}]", key=self.shown_key(key))

    def shown_key(self, key):
        """A key as what it is, if its type or a hash function of the library says so."""
        pointer = void_pointer(key)
        if self.key_type is not None:
            return pointer.cast(self.key_type)
        function = str(self.record["hash_func"])
        if key and "<hash_int" in function:
            return pointer.cast(gdb.lookup_type("int").pointer()).dereference()
        if key and "<hash_atoi" in function:
            return pointer.cast(gdb.lookup_type("char").pointer())
        return pointer

    def describe(self, items, more):
        return super().describe(items, more) + spread(items, self.field("size"), more)

    def check(self, call):
        text = "size is at least 1, and lists holds that many lists"
        if self.field("size") < 1 or not self.field("lists"):
            raise Broken(1, None, text)
        held = set()
        lists = array(self.field("lists"), self.field("size"))
        for slot, head in self.walk_or_break(lists, 1, text):
            try:
                check_links(self, head, 0, head and read(LINK, head)[3] > 0)
            except Broken as broken:
                raise Broken(1, broken.address, broken.text) from None
            for link, (hook, state, *_) in list_links(head):
                if state & DELETED:
                    continue
                key, _, _ = self.entry_or_break(hook, held)
                if call and self.slot_of(call, key) != slot:
                    raise Broken(3, link, "every live entry is in the bucket of its key")
        return {} if call else {3: NOT_ASKED.format(3, "functions for keys (-call)")}

    def entry_or_break(self, hook, held):
        try:
            return reach(hook, held, "QQQ")
        except Stray as stray:
            text = f"the hook of every live link is an entry of its own (it {stray.reason})"
            raise Broken(2, hook, text) from None

    def slot_of(self, call, key):
        hashed = call(self.record["hash_func"], void_pointer(key))
        return call(self.record["slot_func"], hashed, self.record["size"], self.record["lists"])


class NoTable(KeyedHash):
    """What a typed keyed hash is that was moved from."""

    def items(self):
        return iter(())

    def describe(self, items, more):
        return " without a table"

    def check(self, call):
        return {}


class Ring(Family):
    """Messages, the oldest first."""

    header = "qvcq.h"
    invariants = (1, 2, 3)
    noun = "message"

    def items(self):
        blocks, entries = self.field("blocks"), self.field("entries")
        for k in range(max(0, min(self.field("size"), blocks - 1))):
            i = (self.field("tail") + k) % blocks
            length, data = reach(entries + 16 * i, set(), "i4xQ")
            yield Item(data, i, shown=self.message(data, length))

    def message(self, data, length):
        if self.elements.type is not None:
            return None
        length = min(length, self.field("block_size"))
        if length <= 0:
            return '""'
        text = gdb.lookup_type("char").array(length - 1)
        return void_pointer(data).cast(text.pointer()).dereference()

    def describe(self, items, more):
        blocks = count_of(self.field("blocks"), "block")
        return f"{super().describe(items, more)} in {blocks} of {self.field('block_size')} bytes"

    def check(self, call):
        blocks, head, tail = (int(self.record[name]) for name in ("blocks", "head", "tail"))
        if not 0 <= head < blocks or not 0 <= tail < blocks:
            raise Broken(1, None, "head and tail are at least 0 and below blocks")
        if int(self.record["size"]) != (head - tail) % blocks:
            raise Broken(2, None, "size is head - tail, modulo blocks")
        text = "the data of entry i is storage + i * block_size"
        fields = self.walk_or_break(array(self.field("entries"), 2 * blocks), 3, text)
        for i, data in (((k - 1) // 2, data) for k, data in fields if k % 2):
            if data != self.field("storage") + i * self.field("block_size"):
                raise Broken(3, self.field("entries") + 16 * i, text)
        return {}


class Tree(Family):
    """Nodes in order. The record is the root."""

    noun = "node"
    hint = None
    height = 0

    def root(self):
        root = number(self.record)
        return 0 if self.is_end(root) else root

    def is_end(self, node):
        return node == 0

    def in_order(self):
        """The Item of each node and its depth."""
        seen, path, depth, node = set(), [], 0, self.root()
        while path or node:
            while node:
                depth += 1
                left, right, item = self.node(node, seen)
                path.append((right, item, depth))
                node = left
            node, item, depth = path.pop()
            yield item, depth

    def items(self):
        self.height = 0
        for item, depth in self.in_order():
            self.height = max(self.height, depth)
            yield item

    def describe(self, items, more):
        height = f", height {self.height}" if items and not more else ""
        return super().describe(items, more) + height


class AATree(Tree):
    header = "aa.h"
    invariants = (1, 2)

    def node(self, node, seen):
        level, left, right = reach(node, seen, "QQQ")
        return left, right, Item(node, level, f"[level {level}]")

    def check(self, call):
        asked = call is not None and call.compare is not None
        text = "in order, each node compares above the one before it; no two are equal"
        before = 0
        for item in self.walk_or_break(self.items(), 1, text):
            if asked and before:
                if call(call.compare, void_pointer(item.link), void_pointer(before)) != 1:
                    raise Broken(1, item.link, text)
            before = item.link
        notes = {} if asked else {1: "I1: no node is met twice; whether they are in order was not "
                                  "looked at: that takes calls of the compare callback (-compare)"}
        if odd := self.odd_level():
            notes[2] = odd
        return notes

    def odd_level(self):
        """Where I2 does not hold, as it need not after deletions."""
        for item in self.items():
            at, left, right = read("QQQ", item.link)
            right_level, _, beyond = read("QQQ", right) if right else (0, 0, 0)
            odd = ("a" if left and word(left) + 1 != at else
                   "b" if right and right_level not in (at, at - 1) else
                   "c" if beyond and word(beyond) >= at else
                   "d" if at != 1 and not (left and right) else None)
            if odd:
                where = self.elements.name(item.link)
                return f"I2{odd} does not hold at {where}: a fault if nothing was ever deleted"
        return None


class CountedTree(Tree):
    header = "qv_tree.h"
    invariants = (1, 2, 3)

    def fields(self, node):
        return read("I4xQQQ", node)  # count, item, left, right

    def is_end(self, node):
        """Whether a link names the sentinel, the one node that counts none."""
        try:
            return not node or not any(self.fields(node))
        except gdb.MemoryError:
            return False

    def node(self, node, seen):
        count, item, left, right = reach(node, seen, "I4xQQQ")
        left, right = (0 if self.is_end(link) else link for link in (left, right))
        return left, right, Item(item, node, f"[count {count}]")

    def items(self):
        for rank, item in enumerate(super().items()):
            item.label = f"[{rank}]"
            yield item

    def check(self, call):
        sentinel = find_symbol("qv_tree_null")
        if sentinel and any(self.fields(sentinel)):
            raise Broken(3, sentinel, "no operation writes to qv_tree_null")
        before, asked = None, call is not None and call.compare is not None
        text = "count is 1 plus the counts of left and right"
        for item in self.walk_or_break(self.items(), 1, text):
            node, counts = item.place, []
            count, _, *links = self.fields(node)
            for link in links:
                if link == 0 or (link != sentinel and sentinel and self.is_end(link)):
                    raise Broken(3, node, "each link is a node or the address of qv_tree_null")
                counts.append(self.fields(link)[0])
            if count != 1 + sum(counts):
                raise Broken(1, node, text)
            if asked and before is not None:
                if call(call.compare, void_pointer(item.link), void_pointer(before)) <= 0:
                    raise Broken(2, node, "items in left compare less, those in right greater")
            before = item.link
        return {} if asked else {2: NOT_ASKED.format(2, "compare callback (-compare)")}


def find_symbol(name):
    """The address of a variable, or None: a typed program has qv_tree_null only if it needs it."""
    try:
        return number(gdb.parse_and_eval(f"&{name}"))
    except gdb.error:
        return None


# -- Which family a value belongs to -------------------------------------------------------------

RECORDS = {
    "qvds_lifo": Lifo,
    "qvds_list": Fifo,
    "qvds_hash": Hash,
    "qvds_heap": Heap,
    "qvds_cq": Calendar,
    "hashlist": KeyedHash,
    "qvcq": Ring,
}
# A pointer to one of these is a container, for there is no other record.
NODES = {"list_link": List, "qv_tree": CountedTree, "AA_node": AATree}
CLASSES = {
    "qvds::lifo": Lifo,
    "qvds::fifo": Fifo,
    "qvds::fifo2": Fifo2,
    "qvds::sloppy": Sloppy,
    "qvds::hash": Hash,
    "qvds::hash2": Hash2,
    "qvds::heap": Heap,
    "qvds::calendar": Calendar,
    "qvds::list": List,
    "qvds::keyed_hash": KeyedHash,
    "qvds::basic_ring": Ring,
    "qvds::ring_of": Ring,
    "qvds::counted_tree": CountedTree,
    "qvds::aa_tree": AATree,
}
# What `qvds check` can take a record of C for.
READINGS = {Fifo: {"fifo": Fifo, "fifo2": Fifo2}, Hash: {"hash": Hash, "hash2": Hash2}}


def template_name(value_type):
    return (plain_type(value_type).name or "").split("<")[0]


def container_of(value):
    """The family that a value is of, or None."""
    ask_byte_order()
    value_type = plain_type(value.type)
    if value_type.code == gdb.TYPE_CODE_PTR:
        name = template_name(value_type.target())
        if name not in NODES:
            return None
        return NODES[name](value, Elements(), f"({name} *) {void_pointer(number(value))}")
    name = template_name(value_type)
    if name in RECORDS:
        return RECORDS[name](value, Elements(), name)
    return typed(value, value_type, name) if name in CLASSES else None


def typed(value, value_type, name):
    """The family of an object of a typed class."""
    record, found = record_of(value), CLASSES[name]
    title = "qvds::ring" if name == "qvds::basic_ring" else name
    elements = elements_of(value_type, name)
    if found is KeyedHash:  # it owns the pointer that hash_create gives
        found = KeyedHash if number(record) else NoTable
        record = record.dereference()
    if found is CountedTree and record.type.code == gdb.TYPE_CODE_STRUCT:
        record = record["root"]
    family = found(record, elements, title)
    if issubclass(found, KeyedHash):
        family.key_type = value_type.template_argument(0)
    elif found is Heap:
        slot = template_argument(value_type, 2)
        if isinstance(slot, gdb.Value) and slot.type.code == gdb.TYPE_CODE_MEMBERPTR:
            family.slot_member = number(slot)
            family.invariants = (1, 2, 3)
    elif found is Calendar:
        family.due = number(value["due_"]["next"])
    elif issubclass(found, Hash):
        hasher = plain_type(value["hash_"].type)
        family.hash_is_callable = hasher.code == gdb.TYPE_CODE_STRUCT and not hasher.fields()
    return family


def record_of(value):
    """The C record of a typed container: in its `owner`, or elsewhere if that is a view's."""
    for field in plain_type(value.type).fields():
        name = template_name(field.type)
        if field.is_base_class or name == "qvds::basic_ring":
            return record_of(value[field])
        if name == "qvds::core::owner":
            record = value[field]["record_"]
            disposal = plain_type(field.type).template_argument(1)
            return record.dereference() if disposal.name == "qvds::core::viewed" else record
    raise gdb.error("this class keeps no record")


def template_argument(value_type, n):
    """A type or a Value, or None where the compiler doesn't tell."""
    try:
        return value_type.template_argument(n)
    except (gdb.error, RuntimeError):
        return None


def elements_of(value_type, name):
    if name in ("qvds::heap", "qvds::list", "qvds::ring_of"):
        return Elements(value_type.template_argument(0))
    if name == "qvds::keyed_hash":
        return Elements(value_type.template_argument(1))
    if name == "qvds::basic_ring":
        return Elements()
    if name == "qvds::counted_tree":
        key = template_argument(value_type, 0)
        return Elements(owner_of_member(value_type, key)) if key is not None else Elements()
    base = value_type.fields()[0] if value_type.fields() else None
    if base is not None and base.is_base_class:  # a hash table: core::table<Links, Hooked, ...>
        return hooked_elements(plain_type(base.type).template_argument(1))
    hook = template_argument(value_type, 0)
    return hook_elements(value_type, hook) if hook is not None else Elements()


# A hook is a pointer to a member, or a qvds::hook<T, Member, Index>: an object without a value,
# whose type is named_hook<T, Member, Index>. g++ writes that type down, clang++ does not: then all
# that can be shown are the addresses of the links.


def hook_elements(value_type, hook):
    if hook.type.code == gdb.TYPE_CODE_MEMBERPTR:
        return Elements(owner_of_member(value_type, hook), number(hook))
    return member_elements(plain_type(hook.type))


def hooked_elements(hooked):
    """core::hooked<Hook>, or what is derived from it. In the end it is a hooked_member, which has
    arguments that every compiler writes down."""
    while template_name(hooked) != "qvds::core::hooked_member":
        hooked = plain_type(hooked.fields()[0].type)
    return member_elements(hooked)


def member_elements(named):
    """T, Member, Index."""
    element, member, index = (template_argument(named, n) for n in range(3))
    if element is None or member is None:
        return Elements()
    declarer = str(member).strip("&()").rpartition("::")[0]
    offset = number(member) + (offset_of_base(plain_type(element), declarer) or 0)
    if number(index):
        offset += number(index) * member.type.target().target().sizeof  # of an array of links
    return Elements(element, offset)


def offset_of_base(value_type, name):
    """Where in a type its base of this name lies."""
    if value_type.name == name:
        return 0
    for field in value_type.fields():
        if field.is_base_class:
            within = offset_of_base(plain_type(field.type), name)
            if within is not None:
                return field.bitpos // 8 + within
    return None


def owner_of_member(value_type, member):
    """The class T of a pointer to a member of T, or what a qvds::item<T> names. The typedef of the
    container is the surest way to it; a compiler leaves it out if nothing uses it."""
    if member.type.code != gdb.TYPE_CODE_MEMBERPTR:
        return plain_type(member.type).template_argument(0)
    try:
        return gdb.lookup_type(f"{value_type.name}::value_type").strip_typedefs()
    except gdb.error:
        return gdb.lookup_type(str(member).strip("&()").rpartition("::")[0])


# -- Printers ------------------------------------------------------------------------------------


def shown_elements():
    """`print elements`, which gdb heeds by itself where it asks for children."""
    return gdb.parameter("print elements") or 1 << 60


class ContainerPrinter:
    def __init__(self, family):
        self.family = family
        try:
            self.found = family.survey(max(LIMIT, shown_elements()))
            self.text = family.summary(*self.found)
        except gdb.error as error:
            self.found, self.text = ([], False, None), f"{family.title} <{error}>"

    def to_string(self):
        return self.text

    def children(self):
        for i, item in enumerate(self.found[0]):
            if self.family.hint == "map":
                yield f"key {i}", item.key
            yield item.label or f"[{i}]", self.family.shown(item)

    def display_hint(self):
        return self.family.hint


class NodePrinter:
    """A node by itself, with plain addresses in the place of its links: pointers to nodes are
    printed as all that hangs on them, and each element of a tree would show its subtrees."""

    def __init__(self, value):
        self.value = value

    def children(self):
        for field in self.value.type.strip_typedefs().fields():
            member = self.value[field]
            if member.type.strip_typedefs().code == gdb.TYPE_CODE_PTR:
                member = void_pointer(number(member))
            yield field.name, member


class PlacePrinter:
    """A cursor or an iterator: the element that it stands on."""

    def __init__(self, value):
        ask_byte_order()
        self.value = value
        self.names = [field.name for field in value.type.strip_typedefs().fields()]

    def place(self):
        """The element's description and the address of its link."""
        value, value_type = self.value, plain_type(self.value.type)
        if "slot_" in self.names:
            return Elements(value_type.template_argument(0)), word(number(value["slot_"]))
        if "at_" in self.names:
            node = number(value["at_"]["node"])
            return Elements(value_type.template_argument(0)), read("I4xQ", node)[1] if node else 0
        if "next" in self.names:  # qvds_node_iter
            return Elements(), number(value["next"])
        elements = hooked_elements(plain_type(value_type.template_argument(0)))
        if "predecessor_" in self.names:
            before = number(value["predecessor_"])
            return elements, word(before) if before else 0
        return elements, number(value["link_" if "link_" in self.names else "entry_"])

    def to_string(self):
        try:
            elements, link = self.place()
            return f"at {elements.name(link)}" if link else "at the end"
        except gdb.error as error:
            return f"<{error}>"

    def children(self):
        try:
            elements, link = self.place()
        except gdb.error:
            return
        if link and elements.type is not None:
            yield "element", elements.shown(link)


class SlotsPrinter:
    """An array for a table, a calendar or a heap: what is in use."""

    def __init__(self, value):
        self.slots = value["slots_"]
        self.size = self.slots.type.strip_typedefs().range()[1] + 1

    def to_string(self):
        return count_of(self.size, "slot")

    def children(self):
        for i in range(self.size):
            if number(self.slots[i]):
                yield f"[{i}]", self.slots[i]


PLACES = ("qvds_node_iter", "qvds::core::single_link_iterator", "qvds::core::fifo2_iterator",
          "qvds::core::sloppy_iterator", "qvds::core::table_iterator", "qvds::core::equal_iterator",
          "qvds::core::calendar_iterator", "qvds::core::heap_iterator",
          "qvds::core::counted_iterator", "qvds::core::lifo_cursor", "qvds::core::fifo_cursor",
          "qvds::core::hash_cursor")
SLOTS = ("qvds::buckets", "qvds::days", "qvds::heap_slots")


class Printers(gdb.printing.PrettyPrinter):
    """All of them, by the name of the type, so that `disable pretty-printer` knows each. gdb's own
    collection goes by regular expressions and leaves out pointers."""

    def __init__(self):
        names = [*RECORDS, *CLASSES, *NODES, *(f"{name} *" for name in NODES), *PLACES, *SLOTS]
        super().__init__("qvds", [gdb.printing.SubPrettyPrinter(name) for name in names])
        self.by_name = {printer.name: printer for printer in self.subprinters}

    def __call__(self, value):
        value_type = plain_type(value.type)
        if value_type.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            return self(value.referenced_value())
        pointer = value_type.code == gdb.TYPE_CODE_PTR
        name = f"{template_name(value_type.target())} *" if pointer else template_name(value_type)
        # What is nested in a class template has the template's name up to the "<".
        nested = not pointer and (value_type.name or "").rpartition(">")[2].startswith("::")
        if name not in self.by_name or not self.by_name[name].enabled or nested:
            return None
        if value.is_optimized_out:
            return None
        if name in NODES:
            return NodePrinter(value)
        if name in PLACES:
            return PlacePrinter(value)
        if name in SLOTS:
            return SlotsPrinter(value)
        try:
            return ContainerPrinter(container_of(value))
        except (gdb.error, RuntimeError):  # a part of it is optimized out
            return None


# -- Commands ------------------------------------------------------------------------------------


class Request:
    """EXPRESSION [as READING] [: REST], which all commands take."""

    def __init__(self, text):
        head, *rest = re.split(r"\s:\s", text + " ", maxsplit=1)
        match = re.fullmatch(r"(.*\S)\s+as\s+(.*)", head.strip())
        self.expression, self.reading = match.groups() if match else (head.strip(), None)
        self.rest = rest[0].strip() if rest else None
        if not self.expression:
            raise gdb.GdbError("Name a container. See: help qvds")

    def family(self):
        value = gdb.parse_and_eval(self.expression)
        if value.type.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            value = value.referenced_value()
        found = container_of(value)
        if found is None and plain_type(value.type).code == gdb.TYPE_CODE_PTR:
            found = container_of(value.dereference()) or led_by_link(value)
        if found is None:
            raise gdb.GdbError(f"{self.expression} has type {value.type}, no container of qvds")
        return found

    def family_of_elements(self):
        """With elements of the type that the request names."""
        found = self.family()
        if self.reading is not None:
            element, _, member = self.reading.partition(".")
            place = f"(unsigned long)&(({element} *)0)->{member}"
            offset = int(gdb.parse_and_eval(place)) if member else 0
            found.elements = Elements(gdb.lookup_type(element), offset)
        return found


def led_by_link(value):
    """The container of a pointer to a record of the program's that begins with a link: a tree, or a
    list that is known by any of its elements."""
    record = first = plain_type(plain_type(value.type).target())
    while first.code == gdb.TYPE_CODE_STRUCT and first.fields():
        family = {"AA_node": AATree, "qvds_node": Sloppy}.get(first.name)
        if family is not None:
            return family(value, Elements(record), f"({record} *) {void_pointer(number(value))}")
        first = plain_type(first.fields()[0].type)
    return None


def visit(family):
    """Sets $e to each element in turn, and gives its number and pointer. The walk is over before
    the first is given, so that what a command does to it can't disturb the walk."""
    items, _, stray = family.survey()
    live = [item for item in items if item.link and not (isinstance(family, List) and item.shown)]
    for i, item in enumerate(live):
        pointer = family.elements.pointer(item.link)
        gdb.set_convenience_variable("i", i)
        gdb.set_convenience_variable("e", pointer)
        if item.key is not None:
            gdb.set_convenience_variable("key", item.key)
        yield i, pointer
    if stray is not None:
        print(f"{family.elements.name(stray.address)} {stray.reason}")


class Command(gdb.Command):
    def __init__(self):
        super().__init__(self.name, gdb.COMMAND_DATA, gdb.COMPLETE_EXPRESSION)

    def invoke(self, argument, from_tty):
        try:
            self.run(argument)
        except (gdb.error, RuntimeError) as error:
            raise gdb.GdbError(str(error)) from None


class QvdsCommand(gdb.Command):
    """Look into the containers of qvds.

What C knows as `void *` is told its type with "as": a type, or a type and the member that is the
link, as in "queue as struct job" and "table as struct job.in_table". The classes of C++ know it.
The container is an expression: the record or a pointer to it, an object of a typed class, the
root of a tree, the head of an owning list, or any element of a headerless list."""

    def __init__(self):
        super().__init__("qvds", gdb.COMMAND_DATA, prefix=True)

    def invoke(self, argument, from_tty):
        if argument:
            raise gdb.GdbError(f'Undefined qvds command: "{argument}". Try "help qvds".')
        gdb.execute("help qvds")


class ForeachCommand(Command):
    """Run a command for each element of a container.
Usage: qvds foreach CONTAINER [as TYPE[.MEMBER]] : COMMAND

In COMMAND, $e is a pointer to the element, $i its number, and $key the key in a keyed hash.

    qvds foreach queue as struct job : print $e->priority
    qvds foreach table as struct job.in_table : printf "%d\\n", $e->priority
    qvds foreach jobs : print *$e                        a class of C++

The walk is over before the first command runs."""

    name = "qvds foreach"

    def run(self, argument):
        request = Request(argument)
        if not request.rest:
            raise gdb.GdbError("Usage: qvds foreach CONTAINER [as TYPE[.MEMBER]] : COMMAND")
        for _ in visit(request.family_of_elements()):
            gdb.execute(request.rest)


class FindCommand(Command):
    """Print the elements of a container for which a condition holds.
Usage: qvds find CONTAINER [as TYPE[.MEMBER]] : CONDITION

CONDITION is an expression with $e, a pointer to the element. The first one found stays in $e.

    qvds find queue as struct job : $e->priority > 3
    qvds find queue as struct job : $e == suspect        is it in there?"""

    name = "qvds find"

    def run(self, argument):
        request = Request(argument)
        if not request.rest:
            raise gdb.GdbError("Usage: qvds find CONTAINER [as TYPE[.MEMBER]] : CONDITION")
        first, found, count = None, 0, 0
        for i, pointer in visit(request.family_of_elements()):
            count += 1
            if not number(gdb.parse_and_eval(request.rest)):
                continue
            first, found = pointer if first is None else first, found + 1
            known = plain_type(pointer.type).target().code != gdb.TYPE_CODE_VOID
            print(f"[{i}] {void_pointer(number(pointer))}" + (f": {pointer.dereference()}" if known
                                                              else ""))
        gdb.set_convenience_variable("e", first)
        print(f"{found} of {count_of(count, 'element')}")


class TreeCommand(Command):
    """Draw a tree, or a heap as the tree that it is.
Usage: qvds tree CONTAINER [as TYPE[.MEMBER]] [: EXPRESSION]

Each node stands on a line of its own with its level, count or slot, and its left and right
subtrees (L, R) indented below it. EXPRESSION, in which $e is a pointer to the element, is printed
behind it. Stops after `print elements` nodes.

    qvds tree root as struct word : $e->count"""

    name = "qvds tree"

    def run(self, argument):
        request = Request(argument)
        family = request.family_of_elements()
        if not hasattr(family, "node"):
            raise gdb.GdbError(f"{family.title} is no tree")
        seen, branches, left_to_show = set(), [(family.root(), 0, "")], shown_elements()
        while branches:
            node, depth, side = branches.pop()
            if not node:
                continue
            if left_to_show == 0:
                print("...")
                return
            left_to_show -= 1
            margin = "    " * depth + side
            try:
                left, right, item = family.node(node, seen)
            except Stray as stray:
                print(f"{margin}{family.elements.name(stray.address)} {stray.reason}")
                continue
            text = f"{margin}{item.label} {family.elements.name(item.link)}"
            if request.rest:
                gdb.set_convenience_variable("e", family.elements.pointer(item.link))
                text += f" {gdb.parse_and_eval(request.rest)}"
            print(text)
            branches += [(right, depth + 1, "R "), (left, depth + 1, "L ")]


class Callbacks:
    """Calls functions of the program."""

    def __init__(self):
        self.compare = None

    def __call__(self, function, *arguments):
        if plain_type(function.type).code == gdb.TYPE_CODE_PTR:
            function = function.dereference()
        return int(function(*arguments))


class CheckCommand(Command):
    """Check the numbered invariants of a container's header.
Usage: qvds check [-call] [-compare FUNCTION] CONTAINER [as fifo|fifo2|hash|hash2]

Says which invariants hold, or the first that does not and at what element; I1, I2, ... are those
of the header that is named. Goes over all elements and ends by itself whatever the links say.

"as fifo2" and "as hash2" tell that elements have a `prev`, too, which the records of C don't show.
What needs the order or the hash of elements is only looked at if the program may be run for it:
-call lets its own callbacks be called, -compare names the one that a tree of C is ordered by."""

    name = "qvds check"

    def run(self, argument):
        call = None
        while match := re.match(r"\s*(?:(-call)|-compare\s+(\S+))\s+", argument):
            call = call or Callbacks()
            if match[2]:
                call.compare = gdb.parse_and_eval(match[2])
            argument = argument[match.end():]
        request = Request(argument)
        family = request.family()
        if request.reading is not None:
            if request.reading not in READINGS.get(type(family), {}):
                raise gdb.GdbError(f"{family.title} can't be read as {request.reading}")
            reading = READINGS[type(family)][request.reading]
            family = reading(family.record, family.elements, family.title)
        print(family.summary(*family.survey()))
        try:
            notes = family.check(call)
        except Broken as broken:
            where = family.elements.name(broken.address) if broken.address else "the record"
            print(f"{family.header}: I{broken.invariant} does not hold at {where}: {broken.text}")
            return
        *held, last = [f"I{n}" for n in family.invariants if n not in notes] or [None]
        if held:
            print(f"{family.header}: {', '.join(held)} and {last} hold")
        elif last:
            print(f"{family.header}: {last} holds")
        for note in notes.values():
            print(f"{family.header}: {note}")


def register():
    gdb.printing.register_pretty_printer(None, Printers(), replace=True)
    for command in (QvdsCommand, ForeachCommand, FindCommand, TreeCommand, CheckCommand):
        command()


register()
