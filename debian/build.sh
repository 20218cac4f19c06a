#!/bin/sh
# usage: build.sh WORK_DIR: builds the Debian packages of what is committed, in a system of its own
# that holds what they ask for and no more, and tries them in another one. Needs root, for chroot. The
# archives of both systems stay in WORK_DIR, and are made anew when they are removed.
set -eu
work=$1 suite=bookworm
PATH=$PATH:/usr/sbin:/sbin
export LC_ALL=C.UTF-8
version=$(sed -n '1s/.*(\(.*\)-.*).*/\1/p' debian/changelog)
source=qvds-$version

say() {
    printf '\n\033[1m== %s\033[0m\n' "$*"
}

fail() {
    echo "debian/build.sh: $*" >&2
    exit 1
}

[ "$(sed -n 's/^## \([0-9.]*\).*/\1/p' CHANGELOG.md | head -n 1)" = "$version" ] ||
    fail "debian/changelog is about $version, CHANGELOG.md about another version"

# within COMMAND...: runs a command in the system in $work/now, with nothing of the environment that
# this script runs in.
within() {
    chroot "$work/now" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 \
        DEBIAN_FRONTEND=noninteractive "$@"
}

# system NAME PACKAGE...: archives a system where there is none, the bare one with packages.
system() {
    name=$1
    shift
    [ ! -e "$work/$name.tar" ] || return 0
    say "Making the $name system"
    if [ "$name" = bare ]; then
        rm -rf "$work/now"
        debootstrap --variant=minbase $suite "$work/now" >"$work/debootstrap.log" ||
            fail "debootstrap failed, see $work/debootstrap.log"
    else
        again bare
        within apt-get install -y -qq --no-install-recommends "$@" >"$work/apt.log" 2>&1 ||
            fail "apt-get failed, see $work/apt.log"
        within apt-get clean
    fi
    tar -c -C "$work/now" -f "$work/unfinished.tar" .
    mv "$work/unfinished.tar" "$work/$name.tar"
}

# again NAME: a system fresh from its archive, in $work/now.
again() {
    rm -rf "$work/now"
    mkdir "$work/now"
    tar -x -C "$work/now" -f "$work/$1.tar"
}

# field NAME FILE: the packages that a field of a control file names, without versions and conditions.
field() {
    awk -v "name=$1:" '
        /^[^ ]/ { inside = $1 == name }
        inside { sub(name, ""); print }' "$2" |
            tr ',' '\n' | sed 's/[(<].*//; s/debhelper-compat/debhelper/'
}

mkdir -p "$work"
system bare
# shellcheck disable=SC2046 # a list of packages
system builder $(field Build-Depends debian/control) build-essential lintian
# shellcheck disable=SC2046
system tester $(field Depends debian/tests/control | grep -v libqvds)

say "Building"
again builder
mkdir "$work/now/build"
git archive --prefix="$source/" --output="$work/now/build/qvds_$version.orig.tar.gz" HEAD . ':!debian'
git archive --prefix="$source/" HEAD | tar -x -C "$work/now/build"
chown -R 65534:65534 "$work/now/build"
inside() {
    within env -C "/build/$source" HOME=/build DEB_BUILD_OPTIONS="${DEB_BUILD_OPTIONS:-}" \
        setpriv --reuid=65534 --regid=65534 --clear-groups "$@"
}
inside dpkg-buildpackage -us -uc >"$work/build.log" 2>&1 || {
    tail -n 40 "$work/build.log"
    fail "the build failed, see $work/build.log"
}
rm -rf "$work/packages"
mkdir "$work/packages"
find "$work/now/build" -maxdepth 1 -name '*qvds*' -type f -exec cp -t "$work/packages" {} +

say "lintian"
inside sh -c "lintian --display-info --pedantic --display-experimental \
    --fail-on error,warning,info,pedantic,experimental \
    --suppress-tags-from-file debian/lintian-suppressed ../*.changes"

say "Installing, using and removing"
again tester
content() {
    (cd "$work/now" && find . -path ./tmp/try -prune -o -path ./var/lib/dpkg -prune -o \
        -printf '%p %y %l\n' | LC_ALL=C sort)
}
try() {
    within env HOME=/tmp/try AUTOPKGTEST_TMP=/tmp/try "$@"
}
mkdir "$work/now/tmp/try"
git archive HEAD | tar -x -C "$work/now/tmp/try"
content >"$work/before"
cp "$work/packages/"libqvds*.deb "$work/now/tmp/try"
try sh -c 'dpkg --install /tmp/try/libqvds1_*.deb /tmp/try/libqvds-dev_*.deb' >"$work/try.log"
try env -C /tmp/try debian/tests/consumer >>"$work/try.log"
try dpkg --purge libqvds-dev >>"$work/try.log"
try /tmp/try/programs/from_c # which needs the shared library alone
try dpkg --purge libqvds1 >>"$work/try.log"
! try /tmp/try/programs/from_c 2>/dev/null || fail "a program runs without the library"
content | diff "$work/before" - || fail "this has been left after removal"
rm -rf "$work/now"

say "Packages in $work/packages"
ls "$work/packages"
