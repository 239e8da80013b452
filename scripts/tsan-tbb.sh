# Sourced by scripts/test: the thread sanitizer must see inside oneTBB, or it reports races that are none. Builds
# Debian's own source of it once with -fsanitize=thread and makes this run use it.
tsan_tbb="$root/build/tsan-tbb"

fetch_tbb_source() {
  local lists="$tsan_tbb/apt"
  mkdir -p "$lists/lists" "$lists/sources"
  # The machine's own Debian sources, asked for sources instead of binaries.
  local file
  for file in /etc/apt/sources.list.d/*.sources; do
    grep -q debian-archive-keyring "$file" && sed 's/^Types:.*/Types: deb-src/' "$file" >"$lists/sources/$(basename "$file")"
  done
  [ -f /etc/apt/sources.list ] && sed -n 's/^deb \(.*debian.*\)/deb-src \1/p' /etc/apt/sources.list >"$lists/sources.list"
  local options=(-o "Dir::State::lists=$lists/lists" -o "Dir::Etc::sourceparts=$lists/sources"
    -o "Dir::Etc::sourcelist=$lists/sources.list" -o "Dir::Cache::srcpkgcache=" -o "Dir::Cache::pkgcache=" -o APT::Sandbox::User=root)
  (cd "$tsan_tbb" && apt-get "${options[@]}" update -qq && apt-get "${options[@]}" source -qq --download-only onetbb)
  mkdir -p "$tsan_tbb/src"
  tar -xf "$tsan_tbb"/onetbb_*.orig.tar.* --strip-components=1 -C "$tsan_tbb/src"
}

if [ ! -e "$tsan_tbb/lib/libtbb.so.12" ]; then
  echo "Building oneTBB with the thread sanitizer (log: build/tsan-tbb/build.log) ..." >&2
  mkdir -p "$tsan_tbb"
  {
    fetch_tbb_source
    cmake -S "$tsan_tbb/src" -B "$tsan_tbb/obj" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTBB_TEST=OFF -DTBB_STRICT=OFF \
      -DTBBMALLOC_BUILD=OFF -DCMAKE_CXX_FLAGS=-fsanitize=thread -DTBB_OUTPUT_DIR_BASE=tsan
    cmake --build "$tsan_tbb/obj" -j "$jobs"
    mkdir -p "$tsan_tbb/lib" && cp -P "$tsan_tbb"/obj/tsan_relwithdebinfo/libtbb.so* "$tsan_tbb/lib"
  } >"$tsan_tbb/build.log" 2>&1 || { tail -n 20 "$tsan_tbb/build.log" >&2; exit 1; }
fi
export LD_LIBRARY_PATH="$tsan_tbb/lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"
