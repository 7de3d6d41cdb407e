#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
#
# Makes the virtual dock's certificate chains anew, in this folder. They are a fixture: nobody needs
# to run this to build or test. All of it is for desks only; the private keys are public.
#
#   root.pem          what clients trust: the root of slots 0 and 1
#   other_root.pem    the root of slot 3, which no client trusts of itself
#   slotN.chain       total length (2 bytes, big-endian), SHA-256 of the root certificate,
#                     manufacturer certificate, product unit certificate (X.509 DER, P-256)
#   slotN.key         PRIVATE KEY OF THE VIRTUAL DOCK for that slot (PKCS #8 DER)
#
# Slot 0's chain is exactly 1058 bytes long, the length that a client assumes when it knows none.
# Slot 2 is empty.
set -eu
cd "$(dirname "$0")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
days=36500
slot0_length=1058

key() { openssl ecparam -name prime256v1 -genkey -noout -out "$1"; }

# make_root NAME COMMON_NAME
make_root() {
    key "$work/$1.key.pem"
    openssl req -new -x509 -sha256 -days $days -key "$work/$1.key.pem" -subj "/CN=$2" \
        -addext basicConstraints=critical,CA:TRUE -out "$1.pem"
}

# issue NAME COMMON_NAME ISSUER_CERTIFICATE ISSUER_KEY EXTENSION...
issue() {
    name=$1 subject=$2 issuer=$3 issuer_key=$4
    shift 4
    key "$work/$name.key.pem"
    printf '%s\n' "$@" >"$work/$name.ext"
    openssl req -new -sha256 -key "$work/$name.key.pem" -subj "/CN=$subject" -out "$work/$name.csr"
    openssl x509 -req -sha256 -days $days -in "$work/$name.csr" -CA "$issuer" -CAkey "$issuer_key" \
        -set_serial "0x$(openssl rand -hex 8 | sed 's/^./1/')" -extfile "$work/$name.ext" \
        -out "$work/$name.pem" 2>/dev/null
    openssl x509 -in "$work/$name.pem" -outform DER -out "$work/$name.der"
}

# make_chain SLOT ROOT PRODUCT_NAME COMMENT
make_chain() {
    slot=$1 root=$2 product=$3 comment=$4
    set -- basicConstraints=critical,CA:FALSE 2.23.148.1.2=ASN1:FORMAT:HEX,OCTETSTRING:000000000000000$slot
    if [ -n "$comment" ]; then set -- "$@" "nsComment=$comment"; fi
    issue product "$product" "$work/manufacturer.pem" "$work/manufacturer.key.pem" "$@"
    openssl x509 -in "$root.pem" -outform DER | openssl dgst -sha256 -binary >"$work/body"
    cat "$work/manufacturer.der" "$work/product.der" >>"$work/body"
    length=$(($(wc -c <"$work/body") + 2))
    { printf "\\$(printf %03o $((length / 256)))\\$(printf %03o $((length % 256)))"
      cat "$work/body"; } >"slot$slot.chain"
    openssl pkcs8 -topk8 -nocrypt -in "$work/product.key.pem" -outform DER -out "slot$slot.key"
}

manufacturer() {
    issue manufacturer "$2" "$1.pem" "$work/$1.key.pem" basicConstraints=critical,CA:TRUE,pathlen:0 \
        2.23.148.1.1=critical,ASN1:FORMAT:HEX,OCTETSTRING:00000001
}

make_root root "Virtual Dock Root"
make_root other_root "Another Root"

manufacturer root "0072-A1"
make_chain 1 root "0072-000001" ""
# Lengths of certificates vary by a byte or two from run to run: pad until the length is right.
padding=100
length=0
while [ "$length" -ne $slot0_length ]; do
    make_chain 0 root "0072-000000" "$(printf "%${padding}s" | tr ' ' .)"
    missing=$((slot0_length - length))
    if [ "$missing" -gt 2 ] || [ "$missing" -lt -2 ]; then padding=$((padding + missing)); fi
done

manufacturer other_root "0072-B1"
make_chain 3 other_root "0072-000003" ""
