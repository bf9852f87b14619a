#!/usr/bin/env bash
# Words that say nothing to a reader of the system, or that only a workplace knows, stay out of the tree.
set -euo pipefail
cd "$(dirname "$0")/../.."
# Written apart, so that this file does not find itself.
banned='\b[S]pec(ification)?\b|\b[s]pec(ification)?\b|\b[P]arts? [0-9]+\.[0-9]|/[w]ork/|/[f]arm/|[T]ODO|[F]IXME'
if git grep -nIE "$banned" -- .; then exit 1; fi
names='(^|/)([u]tils?|[h]elpers?|[m]isc)\.'
if git ls-files | grep -E "$names"; then exit 1; fi
