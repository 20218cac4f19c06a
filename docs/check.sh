#!/bin/sh
# usage: check.sh: what build.sh has built is whole. Links and cross-references it has checked itself.
# Run at the top of the tree.
set -eu
man=build/docs/man snippets=build/docs/snippets failures=0

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# Every declaration of C has a comment, and every field.
{
    cat docs/Doxyfile
    echo 'INPUT=include/qvds' 'FILE_PATTERNS=*.h' 'WARN_IF_UNDOCUMENTED=YES' \
        'OUTPUT_DIRECTORY=build/docs/commented' | tr ' ' '\n'
} | doxygen - || fail "a declaration without a comment"

# Every name that users know has a page, which declares it, and no other does.
page_of() {
    alias=$man/man3/$1.3
    if [ -f "$alias" ]; then
        declaring=$(grep -lw "^\.B.*$2" "$man"/man3/qvds-*.3)
        [ "$declaring" = "$man/$(sed -n 's/^\.so //p' "$alias")" ] ||
            fail "$1 is declared by: $declaring"
    else
        fail "$1 has no man page"
    fi
}
while read -r name; do
    page_of "$name" "$name"
done <tests/exports.txt
classes=$(sed -n 's/.*<innerclass[^>]*>qvds::\([a-z0-9_]*\)<.*/\1/p' build/docs/xml/namespaceqvds.xml)
[ -n "$classes" ] || fail "no classes"
for name in $classes; do
    page_of "qvds::$name" "\(class\|struct\)  *$name"
done

for page in "$man"/man7/* "$man"/man3/*; do
    head -n 1 "$page" | grep -q '^\.so ' || mandoc -Tlint -W warning "$page" || fail "$page"
done

# What is shown compiles.
rm -rf "$snippets"
python3 docs/snippets.py "$snippets"
compile() {
    "$@" -Wall -Wextra -Werror -Wno-unused -Wno-unused-parameter -fsyntax-only \
        -I include -I "$snippets" || fail "$*"
}
compile gcc -std=gnu11 docs/snippets/headers.c
compile gcc -std=gnu11 docs/snippets/guides.c
compile g++ -std=c++20 docs/snippets/headers.cpp
for piece in "$snippets"/*/*; do
    name=${piece#"$snippets/"}
    case $name in
    typed.md/* | debugging.md/*) ;; # programs of tests/consumer.sh and tests/gdb.sh
    qvds.md/*) ;; # shows includes
    *) grep -q "^#include \"$name\"" docs/snippets/* || fail "$name is not compiled" ;;
    esac
done

# The same sources give the same man pages, also from what was read for the site.
docs/build.sh man build/docs/read-for-html build/docs/man-again
diff -rq "$man" build/docs/man-again || fail "a second run gives other man pages"

exit "$((failures > 0))"
