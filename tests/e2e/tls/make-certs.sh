#!/usr/bin/env bash
# Makes the certificates of the HTTPS end-to-end tests (run by hand; its output is kept in this directory).
# The CA keys are thrown away, so nothing beyond these servers can ever carry the test CA's trust.
#   ca.der          the test CA that the tests add to the Wine prefix's local-machine "Root" store
#   good.pem        localhost and 127.0.0.1, from the test CA
#   wronghost.pem   wrong.example only, from the test CA
#   expired.pem     localhost and 127.0.0.1, from the test CA, valid in 2000 only
#   untrusted.pem   localhost and 127.0.0.1, from a CA that no store holds, sent along with it (an unknown
#                   issuer that is not sent fails as a revocation check instead)
set -euo pipefail
out="$(cd "$(dirname "$0")" && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cd "$work"

cat > ca.cnf <<'CNF'
[ca]
default_ca = test_ca
[test_ca]
database = index.txt
serial = serial
new_certs_dir = .
default_md = sha256
policy = any_name
copy_extensions = none
unique_subject = no
[any_name]
commonName = supplied
[ca_ext]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
[server_ext]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature, keyEncipherment
extendedKeyUsage = serverAuth
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
subjectAltName = ${ENV::SAN}
CNF

export SAN="DNS:unused"
# A CA from 2000 to 2125: every server certificate's dates lie inside it.
make_ca() {
    openssl req -new -newkey rsa:2048 -nodes -keyout "$1.key" -subj "/CN=$2" -out "$1.csr" 2>/dev/null
    : > index.txt
    echo 01 > serial
    openssl ca -batch -config ca.cnf -selfsign -keyfile "$1.key" -in "$1.csr" -out "$1.crt" -notext \
        -extensions ca_ext -startdate 20000101000000Z -enddate 21250101000000Z 2>/dev/null
}
# name, CA, host name, further names, start, end[, issuer to send along]
make_server() {
    export SAN="DNS:$3$4"
    openssl req -new -newkey rsa:2048 -nodes -keyout "$1.key" -subj "/CN=$3" -out "$1.csr" 2>/dev/null
    : > index.txt
    echo "$(openssl rand -hex 8)" > serial
    openssl ca -batch -config ca.cnf -cert "$2.crt" -keyfile "$2.key" -in "$1.csr" -out "$1.crt" -notext \
        -extensions server_ext -startdate "$5" -enddate "$6" 2>/dev/null
    cat "$1.crt" ${7:+"$7"} "$1.key" > "$out/$1.pem"
}

make_ca ca "UpdateWatch Test CA"
make_ca other "UpdateWatch Untrusted Test CA"
openssl x509 -in ca.crt -outform DER -out "$out/ca.der"
make_server good ca localhost ",IP:127.0.0.1" 20000101000000Z 21241231000000Z
make_server wronghost ca wrong.example "" 20000101000000Z 21241231000000Z
make_server expired ca localhost ",IP:127.0.0.1" 20000101000000Z 20010101000000Z
make_server untrusted other localhost ",IP:127.0.0.1" 20000101000000Z 21241231000000Z other.crt
