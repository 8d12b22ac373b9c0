"""Makes random edits and compares with a plain model. Also uses chunks that have ended."""

import random

import pytest

import velmor_core
from velmor_core import EndedChunkError, Error


class Node:
    """What a chunk should be. The model learns from positions and counts, never from handles."""

    def __init__(self, chunk):
        self.chunk = chunk
        self.id, self.size, self.is_group = chunk.id, chunk.size, chunk.is_group
        self.children = [Node(child) for child in chunk] if chunk.is_group else []
        self.alive = True

    def end(self):
        self.alive = False
        for child in self.children:
            child.end()

    def nodes(self):
        yield self
        for child in self.children:
            yield from child.nodes()


class Trial:
    def __init__(self, seed, kind):
        self.choose = random.Random(seed)
        self.kind = kind
        self.kept = []  # nodes of earlier steps, some of them with chunks that have ended
        self.reopen()

    def reopen(self):
        if self.kind == "file":
            self.object = velmor_core.open("random.riff", "w")
        elif self.kind == "buffer":
            self.object = velmor_core.memory(bytearray(), capacity=3000)
        else:
            self.object = velmor_core.cache()
        self.root = Node(self.object.root)

    def keep(self, node):
        if len(self.kept) < 400:
            self.kept.append(node)
        else:
            self.kept[self.choose.randrange(400)] = node
        for child in node.children:
            self.keep(child)

    def data(self):  # few sizes, so that free chunks are filled exactly now and then
        return self.choose.randbytes(self.choose.choice([0, 3, 10, 10, 10, 18, 28, 36]))

    def step(self):
        node = self.choose.choice(list(self.root.nodes()))
        if node.is_group and self.choose.random() < 0.6:
            node = self.choose.choice(self.root.children or [node])  # prefers top-level ones
        parent = next((n for n in self.root.nodes() if node in n.children), None)
        edits = [self.add, self.add, self.add, self.add_group, self.copy, self.add_cache, self.resize]
        edits += [self.recycle, self.recycle, self.remove] * (2 if self.object.size > 1500 else 1)
        try:
            self.choose.choice(edits)(node, parent)
        except Error as error:  # a group where data is needed, the root, or no room
            assert not isinstance(error, EndedChunkError), error
        if self.choose.random() < 0.005:
            self.root.end()
            if self.kind == "cache" and self.choose.random() < 0.5:
                self.object.clear()
                assert self.root.chunk.is_valid
                self.root = Node(self.root.chunk)
            else:
                self.object.close()
                self.reopen()
        self.compare()

    def added(self, node, chunks):
        """Add new chunks to the model. A free chunk comes after them, or ends if they fill it."""
        siblings = list(node.chunk)
        at = siblings.index(chunks[0])
        if len(siblings) < len(node.children) + len(chunks):
            assert node.children[at].id == "JUNK"
            node.children.pop(at).end()
        node.children[at:at] = [Node(chunk) for chunk in chunks]
        for child in node.children[at : at + len(chunks)]:
            self.keep(child)

    def add(self, node, parent):
        id = self.choose.choice(["data", "abcd", "JUNK"])
        self.added(node, [node.chunk.add(id, self.data())])

    def add_group(self, node, parent):
        self.added(node, [node.chunk.add_group("LIST", "grup")])

    def copy(self, node, parent):
        source = self.choose.choice(list(self.root.nodes()))
        self.added(node, [node.chunk.add_copy(source.chunk)])

    def add_cache(self, node, parent):
        with velmor_core.cache() as cache:
            for _ in range(self.choose.randrange(1, 4)):
                cache.add(self.choose.choice(["JUNK", "more"]), self.data())
            cache.add_group("LIST", "more").add("data", self.data())
            self.added(node, node.chunk.add_all(cache))

    def resize(self, node, parent):
        node.chunk.data = self.data()

    def recycle(self, node, parent):
        free = node.chunk.recycle()
        at, siblings = parent.children.index(node), list(parent.chunk)
        index, gone = siblings.index(free), len(parent.children) - len(siblings)
        if index < at:  # merged into the one before it, perhaps with the one after it
            ended = parent.children[at : at + gone]
        elif gone or node.is_group:
            ended = [node]
        else:
            ended = []
        if node.is_group and not gone:
            parent.children[at] = Node(free)
            self.keep(parent.children[at])
        for one in ended:
            one.end()
            if one in parent.children:
                parent.children.remove(one)

    def remove(self, node, parent):
        if parent and self.choose.random() < 0.5:
            del parent.chunk[parent.children.index(node)]
        else:
            node.chunk.remove()
        node.end()
        parent.children.remove(node)

    def compare(self):
        now = list(self.object.walk())
        nodes = list(self.root.nodes())[1:]
        assert now == [node.chunk for node in nodes]
        for node in nodes:
            node.id, node.size = node.chunk.id, node.chunk.size
        for node in self.choose.sample(self.kept, min(12, len(self.kept))):
            if node.alive:
                assert node.chunk.size == node.size
                continue
            assert node.chunk not in nodes and not node.chunk.is_valid
            use = self.choose.choice(USES)
            with pytest.raises(EndedChunkError):
                use(node.chunk, self.root.chunk)


USES = [
    lambda ended, root: ended.id,
    lambda ended, root: ended.total_size,
    lambda ended, root: ended.parent,
    lambda ended, root: ended.next,
    lambda ended, root: ended.offset,
    lambda ended, root: ended.path,
    lambda ended, root: ended.data,
    lambda ended, root: ended.find("data"),
    lambda ended, root: ended[0],
    lambda ended, root: list(ended.walk()),
    lambda ended, root: ended.add("data", b"1234"),
    lambda ended, root: ended.add_group("LIST", "INFO"),
    lambda ended, root: ended.add_copy(root),
    lambda ended, root: root.add_copy(ended),
    lambda ended, root: ended.resize(3),
    lambda ended, root: ended.recycle(),
    lambda ended, root: ended.remove(),
    lambda ended, root: ended.__setitem__(slice(0, 0), b""),
]


@pytest.mark.parametrize("kind", ["cache", "buffer", "file"])
def test_ended_chunks_raise_and_others_stay(kind, request):
    for seed in range(request.config.getoption("--edits") // 200):
        trial = Trial(seed, kind)
        for _ in range(200):
            trial.step()
        trial.object.close()
