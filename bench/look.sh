#!/usr/bin/env bash
# How well the picture check suggests an upright, per cue, on pictures not made for the tests:
#   text:   pages of prose from the machine's licences drawn with Qt (pivotel-lookbench --draw);
#   pages:  pages of the machine's PDF manuals, rendered by pdftoppm at 300 dpi;
#   receipts: shop receipts drawn with Qt as a phone photographs them (askew, blurred, grainy),
#           at 12 megapixels, and again at 24 (receipts24);
#   signs_SCRIPT: street signs in Latin, Cyrillic, Greek, CJK and Arabic letters, likewise;
#   faces:  the photos with faces that opencv-doc ships, portraits and a group photo from
#           matplotlib's, scikit-image's and bagel's packages, dlib's face examples and the
#           people in KPhotoAlbum's demo album (those four downloaded, not installed);
#   scenes: opencv-doc's photos of things with neither faces nor text, and dlib's dogs and the
#           album's pets and landscapes;
#   manual: every third picture of OpenCV's HTML manual (diagrams, screenshots, photos, plots),
#           upright as published, for false suggestions on pictures nobody chose for a cue.
# Every picture is made a camera-sized JPEG (up to 6000x4000, 4:2:0) and turned losslessly by
# jpegtran each of the four ways. Prints precision (right suggestions of all suggestions),
# coverage (right suggestions of the turned copies), false turns of upright copies,
# suggestions on scenes, and milliseconds per photo on one core (decode included).
set -euo pipefail
source "$(dirname "$0")/common.sh"
bench="$repo_root/build/tools/pivotel-lookbench"
[ -x "$bench" ] || { echo "Build first: ./test or scripts/build.sh" >&2; exit 1; }
samples=/usr/share/doc/opencv-doc/examples
[ -d "$samples/data" ] || { echo "Needs Debian's opencv-doc: scripts/deps.sh --bench" >&2; exit 1; }
set="$out/look"
html=/usr/share/doc/opencv-doc/opencv4/html
faces=("$samples/data/messi5.jpg" "$html/messiup.jpg" "$html/facereg.jpg" "$html/face_swapped.jpg"
       "$html/person_multi_det.jpg" "$html/messi_face.jpg" "$html/julia_facedetect_sample.jpg"
       "$html/faceDetection.png")
scenes=(fruits.jpg building.jpg home.jpg baboon.jpg orange.jpg apple.jpg butterfly.jpg starry_night.jpg
        squirrel_cls.jpg aero1.jpg leuvenA.jpg stuff.jpg)

# turnways FILE: the upright FILE turned losslessly the three other ways, beside it as
# NAME.r90.jpg and so on; the list below gives the clockwise quarter turns that bring each copy
# back upright.
turnways() {
    for way in 90 180 270; do
        jpegtran -copy all -rotate $way -outfile "${1%.jpg}.r$way.jpg" "$1"
    done
}

# camera NAME SOURCE [OPTION...]: the source as a camera-sized JPEG, NAME.jpg, upright, with
# convert's options before the resize, and its turned copies.
camera() {
    local name=$1 source=$2
    shift 2
    /usr/bin/convert "$source" "$@" -resize '6000x4000>' -resize '6000x4000<' -quality 90 \
        -sampling-factor 2x2 "$set/$name.jpg" || return
    turnways "$set/$name.jpg"
}

# unpack PACKAGE...: Debian packages downloaded, not installed (they bring whole stacks with
# them), and unpacked into $debs/files.
debs="$out/debs"
unpack() {
    mkdir -p "$debs"
    (cd "$debs" && apt-get download "$@" >/dev/null)
    for deb in "$debs"/*.deb; do dpkg-deb -x "$deb" "$debs/files"; done
}

if [ ! -d "$set" ]; then
    echo "Making the pictures (once)..." >&2
    mkdir -p "$set/drawn" "$set/pdf"
    QT_QPA_PLATFORM=offscreen "$bench" --draw /usr/share/common-licenses/GPL-3 "$set/drawn" 20
    for f in "$set"/drawn/*.jpg; do camera "text-$(basename "$f" .jpg)" "$f"; done
    n=0
    for pdf in /usr/share/doc/libtasn1-doc/libtasn1.pdf /usr/share/doc/shared-mime-info/*.pdf \
        "$repo_root/build/Pivotel.app/Contents/Resources/pivotel.pdf"; do
        [ -f "$pdf" ] || continue
        pdftoppm -r 300 -gray -jpeg -f 2 -l 9 "$pdf" "$set/pdf/p$n"
        n=$((n + 1))
    done
    for f in "$set"/pdf/*.jpg; do camera "pages-$(basename "$f" .jpg)" "$f"; done
    for f in "${faces[@]}"; do name=$(basename "$f"); camera "faces-${name%.*}" "$f"; done
    for f in "${scenes[@]}"; do camera "scenes-${f%.*}" "$samples/data/$f"; done
    rm -rf "$set/drawn" "$set/pdf"
fi

# Receipts and signs came later: made once too, into a set that may already hold the others.
if [ ! -f "$set/receipts-000.jpg" ]; then
    echo "Drawing receipts and street signs (once)..." >&2
    drawn="$set/drawn"
    mkdir -p "$drawn"
    QT_QPA_PLATFORM=offscreen "$bench" --receipts "$drawn" 20
    QT_QPA_PLATFORM=offscreen "$bench" --signs "$drawn" 4
    for f in "$drawn"/receipt*.jpg; do n=$(basename "$f" .jpg); camera "receipts-${n#receipt}" "$f"; done
    for f in "$drawn"/signs_*.jpg; do camera "$(basename "$f" .jpg)" "$f"; done
    rm -rf "$drawn"
fi

# The receipts again as a 24-megapixel camera takes them upright, 4000 pixels wide, where the
# set above holds them at a phone's 12 megapixels: the decode then reduces them to a quarter
# rather than a half. Reported on their own; the totals leave them out as copies.
if [ ! -f "$set/receipts24-000.jpg" ]; then
    for f in "$set"/receipts-???.jpg; do
        name=$(basename "$f" .jpg)
        big="$set/receipts24-${name#receipts-}.jpg"
        /usr/bin/convert "$f" -resize 4000x6000 -quality 90 -sampling-factor 2x2 "$big"
        turnways "$big"
    done
fi

# More faces, from packages that ship portraits and a group photo for their own examples.
if [ ! -f "$set/faces-grace_hopper.jpg" ]; then
    echo "Fetching face pictures from Debian packages (once)..." >&2
    unpack python-matplotlib-data python3-skimage bagel
    for f in usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg \
        usr/lib/python3/dist-packages/skimage/data/astronaut.png \
        usr/lib/python3/dist-packages/skimage/data/camera.png usr/share/doc/bagel/html/_static/group.jpg; do
        name=$(basename "$f")
        camera "faces-${name%.*}" "$debs/files/$f"
    done
    rm -rf "$debs"
fi

# Two more sets, whole, as their packages ship them: the photos of dlib's face examples (people
# at parties and dinners; its picture of dogs counts as a scene) and KPhotoAlbum's demo album, a
# family's snapshots. The album says which of its photos it shows turned (angle="90" and so on),
# and whom each shows: the ones of people are faces, the others (the pets it names as people,
# landscapes, a sunset) are scenes.
if [ ! -f "$set/faces-dlib-bald_guys.jpg" ]; then
    echo "Fetching dlib's and KPhotoAlbum's photos (once)..." >&2
    unpack libdlib19.1 kphotoalbum
    for f in "$debs"/files/usr/share/doc/libdlib19.1/examples/faces/*.jpg; do
        name=$(basename "$f" .jpg)
        group=faces
        [ "$name" = dogs ] && group=scenes
        camera "$group-dlib-$name" "$f"
    done
    album="$debs/files/usr/share/kphotoalbum/demo"
    pets=" Blackie Spiff Donna Pets "
    # One line per photo: file, the album's turn for showing it, the people it names.
    tr -d '\n' <"$album/index.xml" | grep -o '<image [^>]*>.*\?</image>' | sed 's|</image>|&\n|g' |
        sed -n 's|.*<image file="\([^"]*\.jpg\)"\([^>]*\)>\(.*\)|\1\t\2\t\3|p' |
        while IFS=$'\t' read -r file attributes body; do
            angle=$(sed -n 's/.*angle="\([0-9]*\)".*/\1/p' <<<"$attributes")
            group=scenes
            people=$(grep -o '<option name="People">.*' <<<"$body" | sed 's|</option>.*||' |
                grep -o 'value="[^"]*"' | sed 's/value="\(.*\)"/\1/' || true)
            while read -r person; do
                if [ -n "$person" ] && [[ $pets != *" $person "* ]]; then group=faces; fi
            done <<<"$people"
            upright="$debs/upright.jpg"
            /usr/bin/convert "$album/$file" -rotate "${angle:-0}" "$upright"
            camera "$group-album-$(basename "$file" .jpg)" "$upright"
        done
    rm -rf "$debs"
fi

# The manual's pictures came later still. Left out: a newspaper page published sideways.
if [ ! -f "$set/manual-001.jpg" ]; then
    echo "Taking pictures from OpenCV's manual (once)..." >&2
    n=0
    find "$html" -type f \( -name '*.jpg' -o -name '*.png' \) -size +20k | LC_ALL=C sort |
        awk 'NR % 3 == 0' | grep -v '/affinepano\.jpg$' | head -140 | while read -r f; do
        n=$((n + 1))
        camera "$(printf 'manual-%03d' "$n")" "$f" -background white -flatten || continue
    done
fi

for f in "$set"/*.jpg; do
    name=$(basename "$f")
    group=${name%%-*}
    case $name in
        *.r90.jpg) turns=3 ;;
        *.r180.jpg) turns=2 ;;
        *.r270.jpg) turns=1 ;;
        *) turns=0 ;;
    esac
    [ "$group" = scenes ] && turns=-
    printf '%s\t%s\t%s\n' "$group" "$turns" "$f"
done | "$bench"
