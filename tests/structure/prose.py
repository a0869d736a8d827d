"""What people read in the files of the project: comments, names of tests, docstrings and pages."""

import ast
import io
import re
import tokenize

SUFFIXES = {".cpp", ".hpp", ".h"}
# Strings and characters are matched as well, so that a "//" inside one begins no comment.
TOKEN = re.compile(
    r'(?P<raw>R"(?P<tag>[^()\s\\]{0,16})\(.*?\)(?P=tag)")|(?P<string>"(?:\\.|[^"\\\n])*")'
    r"|(?P<char>(?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])+')|(?P<comment>//(?:\\\n|[^\n])*|/\*.*?\*/)", re.DOTALL)

# The literal may stand in several pieces.
TEST_NAME = re.compile(r'\b(?:TEST_CASE|TEST_CASE_FIXTURE|SUBCASE)\s*\((?:\s*[\w:<>, ]+,)?\s*'
                       r'("(?:\\.|[^"\\])*"(?:\s*"(?:\\.|[^"\\])*")*)')
HASH_COMMENT = re.compile(r"(?:^|\s)#.*")
HASH_SUFFIXES = {".txt", ".cmake", ".sh", ".yml", ".yaml"}  # CMakeLists.txt and lists for sanitizers
NOT_WRITTEN = {".git", "build", "out", "node_modules", "__pycache__"}


def line_of(text, position):
    return text.count("\n", 0, position) + 1


# For each kind of file its prose: (number of the first line, text, what it is).
def prose_of_cpp(text):
    for match in TOKEN.finditer(text):
        if match["comment"]:
            yield line_of(text, match.start()), match["comment"], "a comment"
    for match in TEST_NAME.finditer(text):
        yield line_of(text, match.start(1)), match[1], "the name of a test"


def prose_of_python(text):
    for token in tokenize.generate_tokens(io.StringIO(text).readline):
        if token.type == tokenize.COMMENT:
            yield token.start[0], token.string, "a comment"
    for node in ast.walk(ast.parse(text)):
        if isinstance(node, (ast.Module, ast.ClassDef, ast.FunctionDef, ast.AsyncFunctionDef)) and ast.get_docstring(node):
            yield node.body[0].lineno, node.body[0].value.value, "a docstring"


def prose_of_hash_comments(text):
    for number, line in enumerate(text.splitlines(), 1):
        match = HASH_COMMENT.search(line)
        if match:
            yield number, match[0], "a comment"


def prose_of_markdown(text):
    is_code = False
    for number, line in enumerate(text.splitlines(), 1):
        is_fence = line.lstrip().startswith("```")
        if not is_fence and not is_code:
            yield number, line, "the text"
        is_code ^= is_fence


def prose_reader(path, text):
    """What reads the prose of the file; None for a file without any."""
    if path.suffix in SUFFIXES:
        return prose_of_cpp
    if path.suffix == ".py" or text.startswith("#!") and "python" in text.partition("\n")[0]:
        return prose_of_python
    if path.suffix == ".md":
        return prose_of_markdown
    if path.suffix in HASH_SUFFIXES or text.startswith("#!"):
        return prose_of_hash_comments
    return None


def written_files(root):
    """The files below `root` but those of builds, version control and caches, by their relative paths, with their texts."""
    folders = [root]
    while folders:
        for path in sorted(folders.pop().iterdir()):
            if path.is_dir() and not path.is_symlink() and path.name not in NOT_WRITTEN:
                folders.append(path)
            elif path.is_file():
                try:
                    yield path.relative_to(root), path.read_text(encoding="utf-8")
                except UnicodeDecodeError:
                    pass  # a picture, a font
