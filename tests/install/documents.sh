#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Whatever option a verb's help shows, the manual page has it and bash completes it.
# Usage: tests/install/documents.sh ORLIQ FOLDER_OF_THE_DOCUMENTS
set -euo pipefail
page=$(gzip -dc "$2/orliq.1.gz")
# shellcheck source=/dev/null
. "$2/completion/orliq"

fail() {
  echo "documents: $*" >&2
  exit 1
}

# completes WORD...: what bash offers for the last word of a command line.
completes() {
  COMP_WORDS=("$@")
  COMP_CWORD=$(($# - 1))
  COMPREPLY=()
  _orliq
  echo "${COMPREPLY[*]}"
}
offers() {
  local wanted=$1
  shift
  [ "$(completes "$@")" = "$wanted" ] || fail "'$*' is completed with '$(completes "$@")'"
}

verbs=$(completes orliq '' | tr ' ' '\n' | grep -v '^-')
[ "$(wc -l <<< "$verbs")" -ge 10 ] || fail "the verbs are: $verbs"
for verb in $verbs; do
  options=$("$1" "$verb" --help | sed -nE 's/^  (-h,)?(--[a-z-]+)( .*|$)/\2/p')
  [ "$(wc -l <<< "$options")" -ge 4 ] || fail "$verb has only: $options"
  for option in $options; do
    section=$(sed -n "/^\.SS orliq ${verb//-/\\\\-}\( \|$\)/,/^\.SS/p" <<< "$page")
    grep -qF -- "${option//-/\\-}\\fR" <<< "$section" || fail "$verb: the page lacks $option"
    [[ " $(completes orliq "$verb" -) " == *" $option "* ]] || fail "$verb: bash lacks $option"
  done
done
offers 'pcd ply' orliq play room.pcap --format p
offers 'glavor' orliq live --model gl
offers 'glavor' orliq live --model = gl
offers '--check-folder' orliq play --force --ch
offers '' orliq play --out fr   # left to bash, which knows the files
offers '' orliq play ''
