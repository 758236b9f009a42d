# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash disable=SC2034
# The Debian packages that building and testing need, and their installation. Sourced by the other
# scripts; it runs nothing by itself.

# Library, command line, finger generator and examples.
build_packages=(
    cmake            # 3.21 or later, for the presets
    g++
    libcairo2-dev    # pictures
    libcli11-dev     # command-line arguments
    libopenjp2-7-dev # JPEG 2000
    libpng-dev
    libstb-dev       # BMP files
    libtiff-dev
    ninja-build
    nlohmann-json3-dev
    pkg-config
)

# Tests in one configuration; the measuring programs are among what is tested.
test_packages=("${build_packages[@]}" abigail-tools libbenchmark-dev libgtest-dev make python3)

# Changing the library to see whether the tests notice: clang's view of the sources.
mutation_packages=("${test_packages[@]}" python3-clang-14)

# Tests for another machine or C library: the sources of GoogleTest, emulator and compiler.
armhf_packages=("${test_packages[@]}" googletest qemu-user g++-arm-linux-gnueabihf)
arm64_packages=("${test_packages[@]}" googletest qemu-user g++-aarch64-linux-gnu)
s390x_packages=("${test_packages[@]}" googletest qemu-user g++-s390x-linux-gnu)
musl_packages=("${test_packages[@]}" googletest musl-tools)

# The documentation site.
docs_packages=("${build_packages[@]}" doxygen mkdocs mkdocs-material ruby-html-proofer)

# The picture of a terminal in the README.
record_packages=(python3-rich)

# Tests in all configurations: clang, its sanitizers' run-time library and its view of the sources;
# 32-bit ARM; the site.
all_test_packages=("${armhf_packages[@]}" "${docs_packages[@]}" clang libclang-rt-14-dev
    python3-clang-14)

# Fuzzing, also the command line's readers of files.
fuzz_packages=("${build_packages[@]}" clang libclang-rt-14-dev)

# Static analysis.
lint_packages=("${build_packages[@]}" clang clang-format clang-tidy cppcheck shellcheck)

# Measuring time.
bench_packages=("${build_packages[@]}" libbenchmark-dev python3)

# Counting instructions, on the host and on emulated 32-bit ARM.
count_packages=("${bench_packages[@]}" g++-arm-linux-gnueabihf qemu-user valgrind)

# All of that, and the plots of docs/performance.md.
performance_packages=("${count_packages[@]}" gnuplot-nox)

# Debian packages of the product, and looking at them.
package_packages=(dpkg-dev git gzip)
package_check_packages=(lintian man-db qemu-user)

# install_packages LOG PACKAGE...: installs those that are missing and says which. Needs root or
# sudo only when one is missing. On a system without apt it leaves the matter to the build.
install_packages() {
    local log=$1 package
    local -a missing=() as_root=()
    shift
    if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
        echo "This is not a Debian system; nothing is installed. The build needs what Debian calls:"
        echo "  $*"
        return 0
    fi
    for package in "$@"; do
        case $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) in
            installed) ;;
            *) missing+=("$package") ;;
        esac
    done
    if [ ${#missing[@]} -eq 0 ]; then
        echo "All needed Debian packages are there; nothing is installed."
        return 0
    fi
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "Missing Debian packages, and neither root nor sudo to install them. As root, run:" >&2
            echo "  apt-get install --no-install-recommends ${missing[*]}" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    echo "Installing with apt-get, and what they depend on: ${missing[*]}"
    as_root+=(env DEBIAN_FRONTEND=noninteractive apt-get
        -o Acquire::Retries=3 -o DPkg::Lock::Timeout=120)
    if ! { "${as_root[@]}" update &&
        "${as_root[@]}" install -y --no-install-recommends "${missing[@]}"; } \
        </dev/null >>"$log" 2>&1; then
        tail -n 15 "$log" >&2
        echo "apt-get failed; its whole output is in $log" >&2
        return 1
    fi
}
