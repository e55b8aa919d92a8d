#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Renders the pictures of the documents from the example scenes. Needs a build (./orca build) and, for contact sheets,
# the packages imagemagick and gsfonts (fonts of labels).
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
render=$root/build/release/bin/orca-render
images=$root/docs/images
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

picture() {  # NAME SIZE [LAYER...]: the scene's picture, and single layers as NAME-LAYER.png
    local name=$1 size=$2
    shift 2
    "$render" "$root/scenes/$name.mi" --size "$size" -o "$scratch/$name.exr" --files layers --png "$images/$name.png" \
        --png-layers "$scratch"
    local layer
    for layer in "$@"; do mv "$scratch/$layer.png" "$images/$name-$layer.png"; done
}

finely() {  # NAME SIZE: the scene's picture with less noise than the scene asks for
    "$render" "$root/scenes/$1.mi" --size "$2" --samples 1 3 --contrast 0.03 -o "$scratch/$1.exr" --files layers \
        --png "$images/$1.png"
}

smoothly() {  # NAME SIZE: the scene's picture, its last noise filtered out
    "$render" "$root/scenes/$1.mi" --size "$2" --denoise -o "$scratch/$1.exr" --files layers --png "$images/$1.png"
}

noise() {  # NAME SIZE: the scene's picture at four samples a pixel, and without its noise
    for how in "" --denoise; do
        "$render" "$root/scenes/$1.mi" --size "$2" --samples 1 1 $how -o "$scratch/noise.exr" --files layers --png "$scratch/noise$how.png"
    done
    convert "$scratch/noise.png" "$scratch/noise--denoise.png" +append -quality 92 "$images/denoising.jpg"
}

sheet() {  # NAME SIZE COLUMNS LAYER...: layers of a scene side by side, each with its name below
    local name=$1 size=$2 columns=$3
    shift 3
    "$render" "$root/scenes/$name.mi" --size "$size" -o "$scratch/$name.exr" --files layers --png-layers "$scratch"
    local labelled=() layer
    for layer in "$@"; do labelled+=(-label "$layer" "$scratch/$layer.png"); done
    montage "${labelled[@]}" -tile "${columns}x" -geometry +4+4 -background white "$images/$name.png"
}

layers() {  # NAME SIZE LAYER...: layers of a scene in a row, as NAME-layers.jpg
    local name=$1 size=$2 block=()
    shift 2
    # Scenes without a data block of their own get one.
    grep -q orcaFrameBufferData "$root/scenes/$name.mi" || block=(--passes "$(IFS=,; echo "$*")")
    "$render" "$root/scenes/$name.mi" --size "$size" "${block[@]}" -o "$scratch/$name.exr" --files layers --png-layers "$scratch"
    local labelled=() layer
    for layer in "$@"; do labelled+=(-label "$layer" "$scratch/$layer.png"); done
    montage "${labelled[@]}" -tile x1 -geometry +4+4 -background white -quality 88 "$images/$name-layers.jpg"
}

as_jpeg() {  # NAME: keeps a picture with much detail small
    convert "$images/$1.png" -quality 90 "$images/$1.jpg"
    rm "$images/$1.png"
}

frames() {  # NAME SIZE COLUMNS FRAME:LAYER...: layers of single frames of a scene side by side
    local name=$1 size=$2 columns=$3
    shift 3
    local labelled=() shown frame
    for shown in "$@"; do
        frame=${shown%%:*}
        mkdir -p "$scratch/$frame"
        "$render" "$root/scenes/$name.mi" --frames "$frame" --size "$size" -o "$scratch/$name.exr" --files layers \
            --png-layers "$scratch/$frame"
        labelled+=(-label "frame $frame" "$scratch/$frame/${shown#*:}.png")
    done
    montage "${labelled[@]}" -tile "${columns}x" -geometry +4+4 -background white "$images/$name.png"
}

strip() {  # NAME SIZE COLUMNS PARAMETER VALUE...: the scene's picture at each value of a parameter written in it
    local name=$1 size=$2 columns=$3 parameter=$4
    shift 4
    local labelled=() value
    for value in "$@"; do
        sed "s/\"$parameter\" [0-9.]*/\"$parameter\" $value/" "$root/scenes/$name.mi" >"$scratch/$name-$value.mi"
        "$render" "$scratch/$name-$value.mi" --size "$size" -o "$scratch/$name.exr" --files layers \
            --png "$scratch/$name-$value.png"
        labelled+=(-label "$parameter $value" "$scratch/$name-$value.png")
    done
    montage "${labelled[@]}" -tile "${columns}x" -geometry +4+4 -background white "$images/$name-strip.png"
}

mattes() {  # NAME SIZE: the scene's picture, and its mattes by object and material, in false colours
    "$render" "$root/scenes/$1.mi" --size "$2" --passes crypto -o "$scratch/$1.exr" --files layers --png "$scratch/picture.png" \
        --png-layers "$scratch"
    montage "$scratch/picture.png" "$scratch"/Crypto{Object,Material}00.png -tile x1 -geometry +4+4 -background white \
        -quality 90 "$images/mattes.jpg"
}

finely_baked() {  # NAME SIZE RAYS: the scene's picture with more gather rays for its light maps
    sed "s/accuracy [0-9]*/accuracy $3/; s/\"shadowRays\" [0-9]*/\"shadowRays\" 64/" "$root/scenes/$1.mi" >"$scratch/$1.mi"
    "$render" "$scratch/$1.mi" --size "$2" -o "$scratch/$1.exr" --files layers --png "$images/$1.png"
}

picture lambert_cards 360x202
picture translucence 360x202
picture pass_masks 360x202
picture shadow_passes 360x202 diffuse diffuseNoShadow shadow
picture materials_row 960x320
picture fur 640x360 && as_jpeg fur
for name in long_hair fluffy_toy; do
    "$render" "$root/scenes/$name.mi" --size 480x360 --denoise -o "$scratch/$name.exr" --files layers --png "$images/$name.png"
    as_jpeg "$name"
done
# With the lines in the picture.
sed '/framebuffer "lines"/d' "$root/scenes/toon_ramps.mi" >"$scratch/toon_ramps.mi"
"$render" "$scratch/toon_ramps.mi" -I "$root/scenes" -o "$scratch/toon_ramps.exr" --files layers --png "$images/toon_ramps.png"
picture jewel 480x360 && as_jpeg jewel
picture scatter 480x270
picture gather_interior 480x270
picture motion_wheel 480x270
picture textured_spheres 640x213
picture glass_and_mirror 480x270
sheet utility_passes 240x135 4 main ambientOcclusion cameraDepth depthRemapped coverage incidenceCameraNormal \
    normalCamera normalObject normalWorld motionVector2D motionVector2DNormalized motionVector3D
sheet custom_buffers 300x169 3 main pattern boxMask
picture ocean_dusk 480x200
strip ocean_dusk 200x83 4 timeValue 12.0 12.4 12.8 13.2
picture layered_paint 640x300
picture toon_map 480x270
picture phenomena 480x200
picture plate_composite 480x270 plateShadow reflection
frames shadow_modes 320x180 2 1:main 3:main
sheet pass_levels 240x135 3 main direct mirrored throughGlass pearMirrored pearRefracted
frames lenses 480x270 2 1:main 2:main 3:main 4:main
as_jpeg lenses
frames render_modes 240x135 3 1:main 2:matte 3:main 4:main 5:main 6:main
picture rasterizer 360x202
sheet kept_buffers 240x135 3 main woodPlace grainDepth paintable cameraDepth
picture image_planes 480x202
picture hue_map 480x270
sheet light_links 240x135 3 main diffuse specular diffuseKeyVase diffuseKeyFruit diffuseKeyGround diffuseFillVase \
    diffuseFillFruit diffuseFillGround diffuseRimVase diffuseRimFruit diffuseRimGround
picture lagoon 480x202
picture contours 640x360
mattes stage 320x160
finely_baked baked_light 480x270 256
picture stage 640x320
layers stage 160x80 diffuse specular shadow cameraDepth
picture stage_in_fog 640x320
layers stage_in_fog 213x106 sceneVolume objectVolume lightVolume
picture cloud 640x320
picture headlights 640x320
picture fire 320x320
picture lantern 640x320
layers lantern 160x80 diffuse specular shadow cameraDepth
finely area_lights 480x270
layers area_lights 160x90 diffuse specular shadow reflection
finely material_matrix 480x240
finely material_study 480x240
layers material_study 160x80 diffuse specular reflection refraction
smoothly car 480x210
smoothly skin 280x280
smoothly glass 480x240
smoothly cloths 480x240
picture dome 480x270
layers dome 160x90 diffuse reflection
picture neon 400x225
as_jpeg neon
noise neon 400x225
layers neon 160x90 diffuse specular incandescence reflection
picture interior 480x270
as_jpeg interior
layers interior 160x90 diffuseDay diffuseLamps diffuseStrip specular reflection indirect

# The stages of the shot from Blender to the composite, where there is a Blender with the add-on (./orca blender).
if command -v blender >/dev/null; then
    PATH="/usr/bin:$PATH" blender -b --python-exit-code 1 --python "$root/scenes/blender_composite.py" -- "$scratch/stages"
    montage "$scratch"/stages/{rendered,relit,graded,final}.png -tile 2x -geometry 480x270+2+2 -quality 88 "$images/tutorial-composite.jpg"
fi

# The last example of the page on Python writes its picture itself.
(cd "$scratch" && awk '/^```python$/ { text = ""; inside = 1; next } /^```$/ { inside = 0 } inside { text = text $0 "\n" } END { printf "%s", text }' \
    "$root/docs/python.md" | "$root/orca" python - && mv python.png "$images/python.png")
