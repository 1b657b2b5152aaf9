#!/usr/bin/env bash
# Tests the release as users meet it. It unpacks, installs, uses, upgrades and uninstalls dist/ under Wine, in a prefix
# of its own. Then it builds the release in two other folders, compares, and signs it.
# Usage: package_test.sh FOLDER   (the folder is emptied first; script/package --test calls it)
set -u
export LC_ALL=C TZ=UTC
unset NUV_SIGN_PKCS12 NUV_SIGN_PASSFILE NUV_SIGN_TIMESTAMP # a signature holds its time, so no two have the same bytes
root=$(cd "$(dirname "$0")/../.." && pwd)
source "$root/tests/support/promise.sh"
rm -rf "$1" && mkdir -p "$1" && cd "$1" || exit 2
folder=$PWD
export NUV_WINEPREFIX=$folder/prefix
trap '"$root/script/wine" --stop' EXIT

version=$(sed -n 's/^project(.* VERSION \([0-9.]*\) .*/\1/p' "$root/CMakeLists.txt")
setup=$root/dist/nuv_chromaber-$version-win64-setup.exe
zip=$root/dist/nuv_chromaber-$version-win64.zip
aex=$root/build/package/nuv_chromaber.aex
programs=$root/build/windows/tests
texts=(LICENSE.txt README.txt manual.html)

# ---- Tools --------------------------------------------------------------------------------------------------

wine() { "$root/script/wine" "$@"; }
# exits CODE COMMAND…: expects the exit code, and leaves the output in out.txt.
exits() {
  local code=$1 actual=0
  shift
  "$@" >out.txt 2>&1 </dev/null || actual=$?
  [ "$actual" = "$code" ] || { echo "     exit code $actual instead of $code:" && cat out.txt && false; }
}
install() { wine "$setup" /S; }
# NSIS wants the folder as the last argument and without quotes, even if it has spaces. Only cmd passes it on like that.
install_into() { cp "$setup" "$drive/windows/setup.exe" && wine cmd /c "C:\\windows\\setup.exe /S /D=$1"; }
uninstall_in_place() { cp "$1/uninstall.exe" "$drive/windows/" && wine cmd /c "C:\\windows\\uninstall.exe /S _?=$2"; }
says() { grep -q -- "$1" out.txt || { cat out.txt && false; }; }

drive=$NUV_WINEPREFIX/drive_c
media_core="$drive/Program Files/Adobe/Common/Plug-ins/7.0/MediaCore"
home=$media_core/NUV
key='HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\nuv_chromaber'
hosts='HKLM\SOFTWARE\Adobe\After Effects'

# The value of one entry of the uninstall key; fails if there is none.
registered() { wine reg query "$key" /v "$1" /reg:64 | tr -d '\r' | sed -n "s/^ *$1 *REG_[A-Z]* *//p" | grep .; }
is_registered() { is "$(registered "$1")" "$2"; }

gone() { [ ! -e "$1" ]; }
files_of() { (cd "$1" && find . -type f | sort | sed 's|^\./||' | tr '\n' ' '); }
only_holds() { is "$(files_of "$1")" "$(printf '%s\n' "${@:2}" | sort | tr '\n' ' ')"; }

# The effect with another version in its version resource: versioned MAJOR MINOR FILE.
versioned() {
  perl -0777pe 's/(\xbd\x04\xef\xfe.{4}).{8}/$1 . pack("vvV", '"$2, $1"', 0)/se' "$aex" >"$3" && not cmp -s "$aex" "$3"
}

eventually() { # COMMAND…: tries it for half a minute, until it succeeds
  local i
  for ((i = 0; i < 300; i++)); do
    "$@" && return
    sleep 0.1
  done
  return 1
}

# Lists every file and folder except Windows' own and the users' temporary ones.
contents() { (cd "$drive" && find . -path ./windows -prune -o -path '*/Temp/*' -prune -o -print | sort); }

# ---- Nothing but the file -----------------------------------------------------------------------------------

"$root/build/linux/tests/programs/render_digest" "$root/build/linux/nuv_chromaber.so" >native.txt || exit 2
wine wineboot -i >/dev/null 2>&1
[ -d "$drive" ] || {
  echo "package_test: no Wine prefix" >&2
  exit 2
}
contents >untouched.txt

renders_as_native() { # FILE, as Windows names it
  wine "$programs/programs/render_digest.exe" "$1" >rendered.txt && [ -s native.txt ] && cmp native.txt rendered.txt
}

unzip -q "$zip"
unpacked=$PWD/nuv_chromaber-$version-win64
promise "the zip holds the effect and three texts" only_holds "$unpacked" nuv_chromaber.aex "${texts[@]}"
promise "the zip's effect is the one that was built" cmp "$unpacked/nuv_chromaber.aex" "$aex"
for check in aex_imports_and_exports aex_hardening no_aligned_wide_stack_access; do
  promise "which passes $check" exits 0 "$root/tests/binary/$check.sh" "$aex" x86_64-w64-mingw32-objdump
done
promise "the readme names the folder" grep -qF 'C:\Program Files\Adobe\Common\Plug-ins\7.0\MediaCore' \
  "$unpacked/README.txt"
checksums_hold() { cd "$root/dist" && sha256sum --quiet --check SHA256SUMS; }
promise "the checksums are right" checksums_hold
promise "the checksums name every file" is "$(cut -c67- "$root/dist/SHA256SUMS" | sort)" \
  "$(find "$root/dist" -type f ! -name SHA256SUMS -printf '%P\n' | sort)"

mkdir "$drive/alone" && cp "$aex" "$drive/alone/"
promise "the effect alone in a folder loads and renders the native bytes" \
  renders_as_native 'C:\alone\nuv_chromaber.aex'
rm -r "$drive/alone"

# ---- Install ------------------------------------------------------------------------------------------------

promise "the installer asks for administrator rights" grep -aq 'requestedExecutionLevel level="requireAdministrator"' \
  "$setup"
promise "a silent installation succeeds where no host is" exits 0 install
promise "the effect lies in the hosts' common folder" cmp "$home/nuv_chromaber.aex" "$aex"
promise "with its texts and its uninstaller" only_holds "$home" nuv_chromaber.aex uninstall.exe "${texts[@]}"
promise "Programs and Features shows the name" is_registered DisplayName "NUV Chromatic Aberration"
promise "and the version" is_registered DisplayVersion "$version"
promise "and the publisher" is_registered Publisher "The NUV Chromatic Aberration authors"
size_in_kib() {
  local kib actual
  kib=$(($(registered EstimatedSize))) actual=$(($(du -sb --apparent-size "$home" | cut -f1) / 1024))
  ((kib - actual >= -8 && kib - actual <= 8)) || { echo "     $kib KiB for $actual" && false; }
}
promise "and the size" size_in_kib
promise "and how to uninstall, also silently" is_registered QuietUninstallString \
  '"C:\Program Files\Adobe\Common\Plug-ins\7.0\MediaCore\NUV\uninstall.exe" /S'
promise "the installed effect renders the native bytes" \
  renders_as_native 'C:\Program Files\Adobe\Common\Plug-ins\7.0\MediaCore\NUV\nuv_chromaber.aex'

# ---- Versions -----------------------------------------------------------------------------------------------

promise "an effect of version 1.9 can be made" versioned 1 9 older.aex
promise "an effect of version 2.1 can be made" versioned 2 1 newer.aex

cp older.aex "$home/nuv_chromaber.aex"
promise "an older version is replaced" exits 0 install
promise "by this one" cmp "$home/nuv_chromaber.aex" "$aex"
head -c 1000 /dev/zero >"$home/nuv_chromaber.aex"
promise "a file without a version is replaced" exits 0 install
promise "by this one, too" cmp "$home/nuv_chromaber.aex" "$aex"
promise "the same version can be installed again" exits 0 install

cp newer.aex "$home/nuv_chromaber.aex"
promise "a newer version is not replaced silently" exits 4 install
promise "which is said" says "newer version, 2.1"
promise "the newer version is still there" cmp "$home/nuv_chromaber.aex" newer.aex
promise "not even for another folder" exits 4 install_into 'C:\elsewhere'
promise "which is not made" not test -e "$drive/elsewhere"
cp "$aex" "$home/nuv_chromaber.aex"

# ---- In use -------------------------------------------------------------------------------------------------

cp older.aex "$home/nuv_chromaber.aex"
mkfifo hold
wine "$programs/release/hold_plugin.exe" 'C:\Program Files\Adobe\Common\Plug-ins\7.0\MediaCore\NUV\nuv_chromaber.aex' \
  <hold >held.txt 2>&1 &
holder=$!
exec 3>hold
eventually grep -q holding held.txt || {
  cat held.txt
  exit 2
}
promise "an effect that a host has loaded is not replaced" exits 3 install
promise "which is said" says "in use"
promise "nor moved" exits 3 install_into 'C:\elsewhere'
promise "nor removed" exits 3 uninstall_in_place "$home" \
  'C:\Program Files\Adobe\Common\Plug-ins\7.0\MediaCore\NUV'
promise "which is said, too" says "in use"
promise "and nothing else is removed" only_holds "$home" nuv_chromaber.aex uninstall.exe "${texts[@]}"
promise "it stays registered" is_registered DisplayVersion "$version"
promise "the effect in use is unharmed" cmp "$home/nuv_chromaber.aex" older.aex
promise "another folder is not even made" gone "$drive/elsewhere"
exec 3>&-
wait "$holder"
promise "once the host is closed it is replaced" exits 0 install
promise "by this one" cmp "$home/nuv_chromaber.aex" "$aex"

# ---- Other folders ------------------------------------------------------------------------------------------

promise "another folder can be named" exits 0 install_into 'C:\my plug-ins\NUV'
promise "and gets the effect" cmp "$drive/my plug-ins/NUV/nuv_chromaber.aex" "$aex"
promise "which is then no longer in the old folder" gone "$drive/Program Files/Adobe"
promise "the next version goes where the last one was" exits 0 install
promise "and nowhere else" gone "$drive/Program Files/Adobe"

unregistered() { not registered DisplayName >/dev/null; }
uninstalled_from() { # FOLDER
  exits 0 wine "$1/uninstall.exe" /S && eventually unregistered && eventually gone "$1/uninstall.exe"
}
uninstalls() { uninstalled_from "$1" && eventually gone "$1"; }
promise "a folder beside it gets what the next one makes" exits 0 install_into 'C:\my plug-ins\other'
promise "it uninstalls from there" uninstalls "$drive/my plug-ins/other"
promise "with the folder that the first one made" gone "$drive/my plug-ins"

mkdir "$drive/there before"
promise "a folder that was there before can be named" exits 0 install_into 'C:\there before'
refuses() { exits 2 install_into "$1" && says "$2" && cmp "$drive/there before/nuv_chromaber.aex" "$aex"; }
promise "what is no path is refused" refuses 'some\folder' 'some.folder is not the full path'
promise "and so is a drive that is not there" refuses 'Q:\NUV' 'Q:.NUV is not the full path'
promise "and nothing" refuses '' 'is not the full path'
promise "and a folder within a file" refuses 'C:\windows\setup.exe\NUV' 'NUV is not the full path'
promise "and a place where none can be made" refuses 'Z:\proc\NUV' 'NUV cannot be written'
mkdir "$drive/of another" && echo theirs >"$drive/of another/README.txt"
promise "and one where another has a file of that name" refuses 'C:\of another' 'README.txt that is not'
promise "which is unharmed" is "$(cat "$drive/of another/README.txt")" theirs
promise "and alone" only_holds "$drive/of another" README.txt
rm -r "$drive/of another"
promise "an uninstalled effect leaves no file" uninstalled_from "$drive/there before"
promise "but the folder" rmdir "$drive/there before"

mkdir -p "$drive/by hand/NUV" && cp older.aex "$drive/by hand/NUV/nuv_chromaber.aex"
promise "an effect that was copied by hand is replaced" exits 0 install_into 'C:\by hand\NUV'
promise "by this one, as well" cmp "$drive/by hand/NUV/nuv_chromaber.aex" "$aex"
promise "and uninstalled with its folder" uninstalls "$drive/by hand/NUV"
promise "but not the one around it" rmdir "$drive/by hand"

mkdir -p "$drive/Hosts/Common"
wine reg add "$hosts\\24.0" /v CommonPluginInstallPath /d "C:\\Hosts\\Common\\" /reg:64 /f >/dev/null
wine reg add "$hosts\\9.0" /v CommonPluginInstallPath /d "C:\\Hosts\\Old\\" /reg:64 /f >/dev/null
wine reg add "$hosts\\25.0" /v SomethingElse /d "C:\\Hosts\\Other\\" /reg:64 /f >/dev/null
promise "installing with hosts that name their folder succeeds" exits 0 install
promise "the newest host's folder gets the effect" cmp "$drive/Hosts/Common/NUV/nuv_chromaber.aex" "$aex"
promise "and it alone" is "$(find "$drive" -name '*.aex' | wc -l)" 1
promise "it uninstalls from there, too" uninstalls "$drive/Hosts/Common/NUV"
promise "and leaves the host's folder" test -d "$drive/Hosts/Common"
wine reg delete 'HKLM\SOFTWARE\Adobe' /reg:64 /f >/dev/null
rm -r "$drive/Hosts"

held_for_seconds() {
  local folder='C:\Program Files\Adobe\Common\Plug-ins\7.0\MediaCore\NUV'
  printf 'echo holding\r\nping -n 6 127.0.0.1 <"%s\\uninstall.exe"\r\n' "$folder" >"$drive/windows/hold.bat"
  wine cmd /c 'C:\windows\hold.bat' >held.txt 2>&1 &
  eventually grep -q holding held.txt && exits 0 uninstall_in_place "$home" "$folder" && gone "$home"
}

# ---- Uninstall ----------------------------------------------------------------------------------------------

promise "after a last installation" exits 0 install
touch "$media_core/of another effect.aex"
promise "it uninstalls silently" uninstalls "$home"
promise "and leaves what is not its own" test -e "$media_core/of another effect.aex"
rm -r "$drive/Program Files/Adobe"
promise "after yet another one" exits 0 install
promise "it uninstalls while its uninstaller is still held for some seconds" held_for_seconds
promise "after the last" exits 0 install
promise "it uninstalls, and the folders that it made go" uninstalls "$home"
eventually gone "$drive/Program Files/Adobe"
contents >afterwards.txt
promise "no file and no folder is left" diff untouched.txt afterwards.txt
wine --stop
promise "nothing in the registry is left" not grep -i 'nuv_chromaber' "$NUV_WINEPREFIX/system.reg" "$NUV_WINEPREFIX/user.reg"

# ---- Built anew ---------------------------------------------------------------------------------------------

commit=$(git -C "$root" rev-parse HEAD)
copy() { git clone -q "$root" "$1" && git -C "$1" checkout -q "$commit"; }
promise "a copy of the project can be built" eval 'copy one && one/script/package'
promise "and another, in a folder with a longer name" \
  eval 'copy "a folder with a longer name" && "a folder with a longer name/script/package"'
for file in build/package/nuv_chromaber.aex "dist/${zip##*/}" "dist/${setup##*/}" dist/nuv_chromaber.debug; do
  promise "both gave the same ${file##*/}" cmp "one/$file" "a folder with a longer name/$file"
done

# ---- Signed -------------------------------------------------------------------------------------------------

openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=A throw-away certificate" \
  -addext extendedKeyUsage=codeSigning -keyout key.pem -out certificate.pem 2>/dev/null
echo "a password" >password.txt
openssl pkcs12 -export -inkey key.pem -in certificate.pem -out certificate.p12 -passout file:password.txt
promise "it can be built and signed" env NUV_SIGN_PKCS12="$folder/certificate.p12" \
  NUV_SIGN_PASSFILE="$folder/password.txt" one/script/package
signed() { osslsigncode verify -CAfile certificate.pem -in "$1" >out.txt 2>&1 || { cat out.txt && false; }; }
setup=$folder/one/dist/${setup##*/}
promise "the installer is signed" signed "$setup"
promise "and installs" exits 0 install
promise "the installed effect is signed" signed "$home/nuv_chromaber.aex"
promise "the uninstaller is signed" signed "$home/uninstall.exe"
zip_holds_signed() { unzip -qo "one/dist/${zip##*/}" -d signed && signed "signed/${unpacked##*/}/nuv_chromaber.aex"; }
promise "the zip's effect is signed" zip_holds_signed
unsigned() { not signed "$1" >/dev/null; }
promise "what is not signed does not pass for it" unsigned "$aex"
printf x | dd of="$home/nuv_chromaber.aex" bs=1 seek=5000 conv=notrunc 2>/dev/null
promise "nor does what was changed afterwards" unsigned "$home/nuv_chromaber.aex"

summary
