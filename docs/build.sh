#!/bin/sh
# usage: build.sh: the headers as XML in build/docs/xml, made by doxygen; from it, the README and the
#     guides, the site in build/docs/html and the man pages in build/docs/man.
# usage: build.sh html|man READ_DIR DIR: one of the latter two, in DIR; what has been read for it is
#     kept in READ_DIR.
# Both are run at the top of the tree.
set -eu
# The date on the man pages is that of the sources.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct 2>/dev/null || date -r CHANGELOG.md +%s)
export SOURCE_DATE_EPOCH

make() {
    rm -rf "$3"
    sphinx-build -q -W --keep-going -d "$2" -b "$1" docs "$3"
}
if [ $# -gt 0 ]; then
    make "$@"
    exit
fi

rm -rf build/docs
mkdir -p build/docs
doxygen docs/Doxyfile
# That a member of a class is inline, nobody wants to know.
sed -i 's/ inline="yes"/ inline="no"/' build/docs/xml/*.xml
make html build/docs/read-for-html build/docs/html &
html=$!
make man build/docs/read-for-man build/docs/man
wait "$html"
