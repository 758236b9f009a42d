#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The site must not be built from documents with a fault.
#
#   check_site_faults.sh SOURCE_FOLDER QORFP_PROGRAM
set -uo pipefail
source=$(realpath "$1") qorfp=$(realpath "$2")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failed=0

# refuse WHAT MESSAGE FILE SED_SCRIPT: changes the file and looks for the message.
refuse() {
    rm -rf "$folder/copy"
    mkdir "$folder/copy"
    cp -r "$source"/*.md "$source"/{LICENSE,docs,include,examples} "$folder/copy"
    sed -i "$4" "$folder/copy/$3"
    if cmp -s "$source/$3" "$folder/copy/$3"; then
        echo "$1: nothing was changed in $3"
        failed=1
    elif "$folder/copy/docs/site/build.sh" "$folder/work" "$qorfp" >"$folder/output" 2>&1; then
        echo "$1: the site was built"
        failed=1
    elif ! grep -q "$2" "$folder/output"; then
        echo "$1: another message than \"$2\":"
        cat "$folder/output"
        failed=1
    fi
}

refuse "a parameter without a word" "parameter.*of QORFP_Verify" include/QORFPApi.h '/@param level/d'
refuse "a dead link" "absent.md.*not found" docs/pipeline.md 's/(template.md)/(absent.md)/'
refuse "a stage that is not shown" "no picture of stage" docs/pipeline.md 's/stages 9 to 11/stages 9 to 10/'
refuse "a dead anchor" "hash.*absent" docs/template.md 's/#old-templates/#absent/'
exit "$failed"
