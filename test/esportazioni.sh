#!/bin/sh
# The boundary of the binary on ELF systems. Arguments: nm, readelf, the module.
set -u
nm=$1
readelf=$2
modulo=$3
errori=0

no() {
    echo "esportazioni: $1"
    errori=1
}

esportati=$("$nm" -D --defined-only "$modulo" | awk '{print $2, $3}' | sort)
attesi="T OfxGetNumberOfPlugins
T OfxGetPlugin"
[ "$esportati" = "$attesi" ] || no "dynamic symbols are not the two entry functions: $esportati"

# A unique symbol would keep the module loaded for good.
"$readelf" --dyn-syms -W "$modulo" | grep -q UNIQUE && no "unique symbols"

# A second unwinder inside would end the host where an exception should reach it.
"$nm" "$modulo" 2>/dev/null | grep -q ' [TtWw] _Unwind_' && no "libgcc is linked statically"

"$readelf" -dW "$modulo" | grep -Eq 'BIND_NOW|FLAGS_1.*NOW' || no "not bound at load (-z now)"
"$readelf" -lW "$modulo" | grep -q GNU_RELRO || no "no RELRO"
"$readelf" -lW "$modulo" | grep GNU_STACK | grep -q 'RWE' && no "the stack is executable"
"$readelf" -dW "$modulo" | grep -Eq 'TEXTREL|RPATH|RUNPATH' && no "text relocations or search paths"

altre=$("$readelf" -dW "$modulo" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' |
    grep -Ev '^(lib(stdc\+\+|m|gcc_s|c|pthread|asan|ubsan|tsan)\.so\.[0-9]+|ld-linux.*)$')
[ -z "$altre" ] || no "needs more than the standard library: $altre"
exit $errori
