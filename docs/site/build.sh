#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the documentation as one static site and checks its links: the guides, the page of the public
# header, and a picture of every stage of extraction.
#
#   build.sh WORK_FOLDER QORFP_PROGRAM
#
# The site is WORK_FOLDER/site. Needs doxygen, mkdocs with the theme "material", and htmlproofer;
# scripts/docs.sh installs them. Anything doubtful is an error.
set -euo pipefail
work=$(realpath -m "$1") qorfp=$(realpath "$2")
cd "$(dirname "$0")/../.."
source=$work/source
# The pages are UTF-8 wherever they are built; nothing is written among the sources.
export LC_ALL=C.UTF-8 PYTHONDONTWRITEBYTECODE=1

# The pages with what they show and lead to, where they lie in the repository.
rm -rf "$work"
mkdir -p "$source"
cp --parents -- *.md LICENSE docs/*.md docs/*/*.md docs/images/* docs/site/site.{css,js} \
    examples/*.{md,c,h} examples/data/README.md "$source"

{ cat docs/site/Doxyfile && echo "INPUT = include/QORFPApi.h" && echo "OUTPUT_DIRECTORY = $work"; } |
    doxygen -
python3 docs/site/header_page.py "$work/xml/QORFPApi_8h.xml" >"$source/docs/c-interface.md"
"$qorfp" stages examples/data/1_1.pgm -o "$source/docs/images/stages" >/dev/null

if ! QORFP_DOCS_SOURCE=$source mkdocs build --strict --config-file docs/site/mkdocs.yml \
    --site-dir "$work/site" >"$work/mkdocs.log" 2>&1; then
    cat "$work/mkdocs.log"
    exit 1
fi
# Links, pictures and anchors, inside the site only: nothing asks a network.
htmlproofer --disable-external --allow-hash-href --check-html --log-level error "$work/site"
echo "$work/site/index.html"
