#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# What orliq writes, read by others' programs: interop/run.sh ORLIQ. It needs Node.js 20 or later.
set -euo pipefail
ORLIQ=$(realpath "$1")
export ORLIQ
cd "$(dirname "$0")"
npm ci --ignore-scripts --no-audit --no-fund
node --test --test-concurrency=1 ./*.test.mjs
