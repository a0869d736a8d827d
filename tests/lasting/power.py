"""Power cuts: what a program has not brought to the disk is lost."""
import contextlib
import os
import shutil


class Power:
    """A folder whose files outlive a power cut only as far as the programs that `environment` is given to have synced them."""

    def __init__(self, build, root, copies):
        self.library = os.path.join(build, "lib", "libsynced_files.so")
        self.root = root
        self.copies = copies
        os.makedirs(root, exist_ok=True)
        self._settle()

    def environment(self):
        return {"LD_PRELOAD": self.library, "SYNCED_ROOT": self.root, "SYNCED_COPY": self.copies}

    @contextlib.contextmanager
    def over_programs(self):
        """Programs that are started inside are given to the library."""
        kept = {name: os.environ.get(name) for name in self.environment()}
        os.environ.update(self.environment())
        try:
            yield
        finally:
            for name, before in kept.items():
                if before is None:
                    del os.environ[name]
                else:
                    os.environ[name] = before

    def cut(self):
        """To be called when the programs are killed."""
        kept = self.root + "-kept"
        os.makedirs(kept)
        self._rebuild(os.stat(self.root).st_ino, kept)
        shutil.rmtree(self.root)
        os.rename(kept, self.root)
        self._settle()

    def has(self, path):
        """Whether a power cut leaves the file as it is now."""
        copy = self._copy("f", os.stat(path).st_ino)
        if not os.path.exists(copy):
            return False
        with open(path, "rb") as file, open(copy, "rb") as kept:
            return file.read() == kept.read()

    def _settle(self):
        """All that is there is on the disk."""
        shutil.rmtree(self.copies, ignore_errors=True)
        os.makedirs(self.copies)
        for path, folders, files in os.walk(self.root):
            with open(self._copy("d", os.stat(path).st_ino), "w", encoding="utf-8") as listing:
                for kind, names in (("d", folders), ("f", files)):
                    for name in names:
                        listing.write(f"{os.lstat(os.path.join(path, name)).st_ino} {kind} {name}\n")
            for name in files:
                file = os.path.join(path, name)
                shutil.copyfile(file, self._copy("f", os.stat(file).st_ino))

    def _copy(self, kind, number):
        return os.path.join(self.copies, f"{kind}-{number}")

    def _rebuild(self, number, path):
        if not os.path.exists(self._copy("d", number)):
            return
        with open(self._copy("d", number), encoding="utf-8") as listing:
            for line in listing:
                entry, kind, name = line.rstrip("\n").split(" ", 2)
                target = os.path.join(path, name)
                if kind == "d":
                    os.makedirs(target)
                    self._rebuild(entry, target)
                elif os.path.exists(self._copy("f", entry)):
                    shutil.copyfile(self._copy("f", entry), target)
                else:
                    open(target, "wb").close()  # a name without content
