#!/usr/bin/env bats
# Files that another user could have created or changed are not loaded, run or followed.

bats_require_minimum_version 1.5.0
load helper

# A user other than root, who is unlikely to be the one running the tests.
OTHER_UID=65534

setup_file() {
  load helper
  make_machine
  make_cards
  rmdir "$CORVANE_SYSFS/bus/pci/devices"
  cardsim sysfs "$CORVANE_SYSFS"
  mkdir "$BATS_FILE_TMPDIR/plugin"
  cp "$CORVANE_BUILD"/lib/lib{Corvane,hostkit}.so "$CORVANE_BUILD"/lib/corvane/sim/libvsl_abstraction.so \
    "$BATS_FILE_TMPDIR/plugin"
  chmod 755 "$BATS_FILE_TMPDIR/plugin" "$BATS_FILE_TMPDIR"/plugin/*
}

need_root() {
  [ "$(id -u)" -eq 0 ] || skip "only root can change the owner of a file"
}

# copy_plugin: copies the plug-in and the libraries that it needs.
copy_plugin() {
  rm -rf "${BATS_TEST_TMPDIR:?}/lib"
  cp -r "$BATS_FILE_TMPDIR/plugin" "$BATS_TEST_TMPDIR/lib"
  plugin="$BATS_TEST_TMPDIR/lib/libCorvane.so"
}

# loads NAME [FILE], refuses NAME REASON [FILE]: runs list as NAME and expects it to load or refuse
# the plug-in FILE (default: the copied one).
loads() {
  keep "$1" corvane-host --plugin "${2:-$plugin}" list -o value
  ended "$1" 0
}

refuses() {
  keep "$1" corvane-host --plugin "${3:-$plugin}" list -o value
  ended "$1" 5 || { err "$1"; false; }
  silent "$1" out
  said "$1" "corvane-host: cannot load the plug-in: $2"
}

@test "a plug-in of the same user is loaded" {
  copy_plugin
  loads own
}

@test "a plug-in that other users can write to is refused" {
  copy_plugin
  chmod o+w "$plugin"
  refuses writable "$plugin can be written by other users"
}

@test "a plug-in owned by another user is refused with advice" {
  need_root
  copy_plugin
  chown "$OTHER_UID" "$plugin"
  refuses owner "$plugin is owned by uid $OTHER_UID"
  same "  Any user who can change the file could run code as root.
  Run the command as the owner of the file, or install it: sudo cmake --install build/release
  Or change its owner to root: chown -R root $BATS_TEST_TMPDIR/lib; chmod -R go-w $BATS_TEST_TMPDIR/lib" \
    "$(err owner | tail -n +2)"
}

@test "a plug-in in another user's directory, or in one that others can write to, is refused" {
  need_root
  copy_plugin
  chmod 777 "$BATS_TEST_TMPDIR/lib"
  refuses open "$BATS_TEST_TMPDIR/lib can be written by other users"
  chmod 1777 "$BATS_TEST_TMPDIR/lib"
  refuses sticky "$BATS_TEST_TMPDIR/lib can be written by other users"
  chmod 775 "$BATS_TEST_TMPDIR/lib"
  chgrp "$OTHER_UID" "$BATS_TEST_TMPDIR/lib"
  refuses group "$BATS_TEST_TMPDIR/lib can be written by other users"
  chmod 755 "$BATS_TEST_TMPDIR/lib"
  chown "$OTHER_UID" "$BATS_TEST_TMPDIR/lib"
  refuses directory "$BATS_TEST_TMPDIR/lib is owned by uid $OTHER_UID"
}

# grant_write FILE: grants another user write access through an ACL. Fails if the file system does
# not support ACLs.
grant_write() {
  python3 - "$1" "$OTHER_UID" <<'END'
import os, struct, sys

none = 0xFFFFFFFF
entries = [(1, 7, none), (2, 7, int(sys.argv[2])), (4, 5, none), (16, 7, none), (32, 5, none)]
value = struct.pack("<I", 2) + b"".join(struct.pack("<HHI", *entry) for entry in entries)
os.setxattr(sys.argv[1], "system.posix_acl_access", value)
END
}

@test "a plug-in in a directory whose ACL lets another user write is refused" {
  need_root
  copy_plugin
  grant_write "$BATS_TEST_TMPDIR/lib" || skip "the file system does not support ACLs"
  refuses list "$BATS_TEST_TMPDIR/lib can be written by other users"
}

@test "another user's link on the path to a plug-in is refused" {
  need_root
  copy_plugin
  mkdir -m 1777 "$BATS_TEST_TMPDIR/shared"
  ln -s "$BATS_TEST_TMPDIR/lib" "$BATS_TEST_TMPDIR/shared/lib"
  loads link "$BATS_TEST_TMPDIR/shared/lib/libCorvane.so"
  chown -h "$OTHER_UID" "$BATS_TEST_TMPDIR/shared/lib"
  refuses untrusted "$BATS_TEST_TMPDIR/shared/lib is owned by uid $OTHER_UID" \
    "$BATS_TEST_TMPDIR/shared/lib/libCorvane.so"
}

@test "a library in the plug-in's directory is checked like the plug-in" {
  copy_plugin
  chmod o+w "$BATS_TEST_TMPDIR/lib/libvsl_abstraction.so"
  refuses dependency "$BATS_TEST_TMPDIR/lib/libvsl_abstraction.so can be written by other users"
}

# create_untrusted FILE: creates an unloadable library that belongs to another user.
create_untrusted() {
  echo "no library" >"$1"
  chown "$OTHER_UID" "$1"
}

@test "a library in a CPU-specific directory is checked like the plug-in" {
  need_root
  local level
  for level in 2 3 4; do
    copy_plugin
    mkdir -p "$BATS_TEST_TMPDIR/lib/glibc-hwcaps/x86-64-v$level"
    create_untrusted "$BATS_TEST_TMPDIR/lib/glibc-hwcaps/x86-64-v$level/libvsl_abstraction.so"
    refuses "level $level" "$BATS_TEST_TMPDIR/lib/glibc-hwcaps/x86-64-v$level/libvsl_abstraction.so is owned by uid $OTHER_UID"
  done
  for level in tls x86_64 tls/x86_64 haswell haswell/x86_64 avx512_1; do
    copy_plugin
    mkdir -p "$BATS_TEST_TMPDIR/lib/$level"
    create_untrusted "$BATS_TEST_TMPDIR/lib/$level/libvsl_abstraction.so"
    refuses "older loader" "$BATS_TEST_TMPDIR/lib/$level/libvsl_abstraction.so is owned by uid $OTHER_UID"
  done
  copy_plugin
  mkdir -p -m 1777 "$BATS_TEST_TMPDIR/lib/glibc-hwcaps"
  refuses "open to others" "$BATS_TEST_TMPDIR/lib/glibc-hwcaps can be written by other users"
}

@test "a link to a plug-in uses the libraries of the plug-in's directory" {
  need_root
  copy_plugin
  mkdir -m 1777 "$BATS_TEST_TMPDIR/sticky"
  ln -s "$plugin" "$BATS_TEST_TMPDIR/sticky/p.so"
  create_untrusted "$BATS_TEST_TMPDIR/sticky/libvsl_abstraction.so"
  loads link "$BATS_TEST_TMPDIR/sticky/p.so"
}

@test "indirect dependencies of the plug-in are also checked" {
  copy_plugin
  # p.so needs libouter.so, which needs libinner.so.
  echo 'int f(void) { return 0; }' | cc -shared -fPIC -xc - -o "$BATS_TEST_TMPDIR/lib/libinner.so"
  echo 'int f(void); int g(void) { return f(); }' |
    cc -shared -fPIC -xc - -L"$BATS_TEST_TMPDIR/lib" -Wl,--no-as-needed -linner \
      -Wl,-rpath,"\$ORIGIN" -Wl,--enable-new-dtags -o "$BATS_TEST_TMPDIR/lib/libouter.so"
  echo 'int g(void); void* createIf(void) { g(); return 0; } void* releaseIf(void) { return 0; }' |
    cc -shared -fPIC -xc - -L"$BATS_TEST_TMPDIR/lib" -Wl,--no-as-needed -louter \
      -Wl,-rpath,"\${ORIGIN}" -Wl,--allow-shlib-undefined -o "$BATS_TEST_TMPDIR/lib/p.so"
  chmod 755 "$BATS_TEST_TMPDIR"/lib/*.so
  chmod o+w "$BATS_TEST_TMPDIR/lib/libinner.so"
  refuses inner "$BATS_TEST_TMPDIR/lib/libinner.so can be written by other users" \
    "$BATS_TEST_TMPDIR/lib/p.so"
}

# library FILE OPTION...: builds a library that calls f and has the entry points of a plug-in.
library() {
  echo 'int f(void); void* createIf(void) { f(); return 0; } void* releaseIf(void) { return 0; }' |
    cc -shared -fPIC -xc - -Wl,--unresolved-symbols=ignore-all -o "$@"
  chmod 755 "$1"
}

# In each case, the loader finds libf.so in a different way.
@test "a library is checked regardless of how the loader finds it" {
  local lib="$BATS_TEST_TMPDIR/lib" evil="$BATS_TEST_TMPDIR/evil"
  mkdir -p "$lib/front" "$lib/real"
  mkdir "$evil"
  for name in "$lib/libf.so" "$lib/front/libf.so" "$evil/libf.so"; do
    echo 'int f(void) { return 0; }' | cc -shared -fPIC -xc - -o "$name" -Wl,-soname,libf.so
    chmod 777 "$name"
  done
  echo 'int f(void) { return 0; }' | cc -shared -fPIC -xc - -o "$evil/libg.so" -Wl,-soname,"$evil/libg.so"
  chmod 755 "$lib" "$lib/front" "$lib/real"
  chmod 777 "$evil"

  library "$lib/variable.so" -L"$lib" -lf -Wl,-rpath,"$evil/\$LIB"
  refuses variable "$lib/variable.so has an unsupported variable in $evil/\$LIB" "$lib/variable.so"
  local path
  for path in "\$LIB/\$ORIGIN" "\$ORIGINAL" "\${ORIGIN"; do
    library "$lib/variable.so" -L"$lib" -lf -Wl,-rpath,"$path"
    refuses variable "$lib/variable.so has an unsupported variable in $path" "$lib/variable.so"
  done
  library "$lib/path.so" -L"$evil" -lg
  refuses path "$evil can be written by other users" "$lib/path.so"
  library "$lib/auxiliary.so" -Wl,-f,libf.so -Wl,-rpath,"\$ORIGIN"
  refuses auxiliary "$lib/libf.so can be written by other users" "$lib/auxiliary.so"
  library "$lib/filter.so" -Wl,-F,libf.so -Wl,-rpath,"\$ORIGIN"
  refuses filter "$lib/libf.so can be written by other users" "$lib/filter.so"

  # The search path of a library applies to the libraries that it needs.
  library "$lib/libneeds.so" -L"$lib" -lf
  library "$lib/inherits.so" -L"$lib" -Wl,--no-as-needed -lneeds -Wl,--disable-new-dtags -Wl,-rpath,"$lib"
  refuses inherits "$lib/libf.so can be written by other users" "$lib/inherits.so"
  # For the loader, the origin of a linked library is the directory of the link.
  library "$lib/real/liblinked.so" -L"$lib" -lf -Wl,-rpath,"\$ORIGIN"
  ln -s ../real/liblinked.so "$lib/front/liblinked.so"
  library "$lib/links.so" -L"$lib/real" -Wl,--no-as-needed -llinked -Wl,-rpath,"$lib/front"
  refuses links "$lib/front/libf.so can be written by other users" "$lib/links.so"

  library "$lib/current.so" -L"$lib" -lf -Wl,-rpath,":$lib/real"
  cd "$evil"
  refuses current "$evil can be written by other users" "$lib/current.so"
  cd "$lib"
  # The loader does not need the section table, so the check must not depend on it.
  library "$lib/bare.so" -L"$lib" -lf -Wl,-rpath,"$evil"
  python3 - "$lib/bare.so" <<'PYTHON'
import sys

with open(sys.argv[1], "r+b") as file:
    for at, size in ((0x28, 8), (0x3C, 4)):  # position and size of the section table
        file.seek(at)
        file.write(bytes(size))
PYTHON
  refuses bare "$evil can be written by other users" "$lib/bare.so"
}

@test "a directory of the plug-in's search path is checked, even if it is missing" {
  local open_directory="$BATS_TEST_TMPDIR/open"
  mkdir -m 1777 "$open_directory"
  mkdir "$BATS_TEST_TMPDIR/lib"
  echo 'int f(void) { return 0; }' |
    cc -shared -fPIC -xc - -Wl,-rpath,"$open_directory/later" -o "$BATS_TEST_TMPDIR/lib/p.so"
  chmod 755 "$BATS_TEST_TMPDIR/lib/p.so"
  refuses later "$open_directory can be written by other users" "$BATS_TEST_TMPDIR/lib/p.so"
}

@test "check is UNKNOWN and metrics reports a failure for an untrusted plug-in" {
  copy_plugin
  chmod o+w "$plugin"
  run -3 corvane-host --plugin "$plugin" check
  [[ "$output" == "CORVANE UNKNOWN - cannot load the plug-in: "* ]]
  run -5 --separate-stderr corvane-host --plugin "$plugin" metrics
  [[ "$output" == *"corvane_plugin_up 0"* ]]
}

@test "metrics are not written through another user's link" {
  need_root
  mkdir "$BATS_TEST_TMPDIR/kept"
  mkdir -m 1777 "$BATS_TEST_TMPDIR/shared"
  ln -s "$BATS_TEST_TMPDIR/kept" "$BATS_TEST_TMPDIR/shared/way"
  keep mine corvane-host metrics --textfile "$BATS_TEST_TMPDIR/shared/way/mine.prom"
  ended mine 0
  chown -h "$OTHER_UID" "$BATS_TEST_TMPDIR/shared/way"
  keep untrusted corvane-host metrics --textfile "$BATS_TEST_TMPDIR/shared/way/x.prom"
  ended untrusted 6
  said untrusted "corvane-host: cannot write $BATS_TEST_TMPDIR/shared/way/x.prom: $BATS_TEST_TMPDIR/shared/way is owned by uid $OTHER_UID"
  same mine.prom "$(ls "$BATS_TEST_TMPDIR/kept")"
}

@test "metrics are not written through a link below another user's directory" {
  need_root
  local theirs="$BATS_TEST_TMPDIR/theirs" way
  mkdir -p "$BATS_TEST_TMPDIR/secret/deep/deeper" "$theirs/one/two"
  # The link itself, and paths through directories below and above it.
  ln -s "$BATS_TEST_TMPDIR/secret" "$theirs/sub"
  ln -s "$BATS_TEST_TMPDIR/secret" "$theirs/one/sub"
  ln -s "$BATS_TEST_TMPDIR/secret" "$theirs/one/two/sub"
  chown -hR "$OTHER_UID" "$theirs"
  for way in sub one/sub one/two/sub sub/deep sub/deep/deeper sub/.. one/.. one one/two; do
    keep below corvane-host metrics --textfile "$theirs/$way/x.prom"
    ended below 6 || { echo "$way"; false; }
    said below "corvane-host: cannot write $theirs/$way/x.prom: $theirs is owned by uid $OTHER_UID"
  done
  same "" "$(find "$BATS_TEST_TMPDIR" -name '*.prom*')"
}

@test "metrics are not written through a link in a directory that others can write to" {
  need_root
  local shared="$BATS_TEST_TMPDIR/shared"
  mkdir -p "$BATS_TEST_TMPDIR/kept" "$shared"
  ln -s "$BATS_TEST_TMPDIR/kept" "$shared/way"
  chmod 777 "$shared"
  keep open corvane-host metrics --textfile "$shared/way/x.prom"
  ended open 6
  said open "corvane-host: cannot write $shared/way/x.prom: $shared can be written by other users"
  same "" "$(ls "$BATS_TEST_TMPDIR/kept")"
}

@test "metrics are written through the user's own links, and a loop of links is an error" {
  mkdir "$BATS_TEST_TMPDIR/kept"
  ln -s kept "$BATS_TEST_TMPDIR/relative"
  ln -s "$BATS_TEST_TMPDIR/relative/../relative/." "$BATS_TEST_TMPDIR/absolute"
  keep links corvane-host metrics --textfile "$BATS_TEST_TMPDIR/absolute/x.prom"
  ended links 0
  same x.prom "$(ls "$BATS_TEST_TMPDIR/kept")"
  ln -s circle "$BATS_TEST_TMPDIR/circle"
  keep circle corvane-host metrics --textfile "$BATS_TEST_TMPDIR/circle/x.prom"
  ended circle 1
  said circle "corvane-host: cannot write $BATS_TEST_TMPDIR/circle/x.prom: Too many levels of symbolic links"
  keep nowhere corvane-host metrics --textfile "$BATS_TEST_TMPDIR/nowhere/x.prom"
  ended nowhere 1
  said nowhere "corvane-host: cannot write $BATS_TEST_TMPDIR/nowhere/x.prom: No such file or directory"
}

@test "metrics are written to another user's directory, but not through a link in it" {
  need_root
  mkdir "$BATS_TEST_TMPDIR/collector"
  chown "$OTHER_UID" "$BATS_TEST_TMPDIR/collector"
  keep into corvane-host metrics --textfile "$BATS_TEST_TMPDIR/collector/x.prom"
  ended into 0
  same x.prom "$(ls "$BATS_TEST_TMPDIR/collector")"
  echo kept >"$BATS_TEST_TMPDIR/kept"
  ln -sf "$BATS_TEST_TMPDIR/kept" "$BATS_TEST_TMPDIR/collector/x.prom"
  keep follow corvane-host metrics --textfile "$BATS_TEST_TMPDIR/collector/x.prom"
  ended follow 1
  same kept "$(cat "$BATS_TEST_TMPDIR/kept")"
}

# getenv_calls DIRECTORY...: prints the source lines that read the environment with plain getenv.
getenv_calls() {
  grep -rnE '(^|[^_[:alnum:]])getenv[[:space:]]*\(' "$@" --include=*.cpp --include=*.h --include=*.in
}

@test "programs, libraries and the plug-in read the environment only with secure_getenv" {
  local directory
  cd "$CORVANE_SOURCE"
  for directory in base console service hostkit cardsim Corvane orm models host; do [ -d "$directory" ]; done
  run -1 getenv_calls base console service hostkit cardsim Corvane orm models host
  same "" "$output"
}

@test "the test detects a plain getenv" {
  mkdir "$BATS_TEST_TMPDIR/source"
  echo 'const char* a = std::getenv ("A");' >"$BATS_TEST_TMPDIR/source/a.cpp"
  echo 'const char* b = secure_getenv("B");' >"$BATS_TEST_TMPDIR/source/b.cpp"
  run -0 getenv_calls "$BATS_TEST_TMPDIR/source"
  same "$BATS_TEST_TMPDIR/source/a.cpp:1:const char* a = std::getenv (\"A\");" "$output"
}
