# Builds a small shot in Blender and exports it as glTF: an animated target, a follower
# point-constrained to it and a camera aimed at it (both constraints in the nodes' extras, under
# vexilConstraints), and a crate. Writes examples/shot/shot.gltf (+ shot.bin, keys as authored) and
# tests/gltf/fixtures/shot_sampled.glb (the exporter's sampled animation, binary container).
#
#   blender -b --factory-startup --python examples/shot/make_shot.py
#
# Needs Debian's blender and python3-numpy. Blender's coordinates are z-up; its exporter writes glTF's
# y-up (x, z, -y).
import os

import numpy as np

np.bool = np.bool_  # the glTF add-on of Blender 3.4 still uses the alias numpy 1.24 removed

import bpy  # noqa: E402

here = os.path.dirname(os.path.abspath(__file__))
fixtures = os.path.join(here, "..", "..", "tests", "gltf", "fixtures")

bpy.ops.wm.read_factory_settings(use_empty=True)
scene = bpy.context.scene
scene.render.fps = 24
scene.frame_start, scene.frame_end = 1, 24


def empty(name, location):
    obj = bpy.data.objects.new(name, None)
    obj.location = location
    scene.collection.objects.link(obj)
    return obj


def key(obj, path, frame, value, interpolation):
    setattr(obj, path, value)
    obj.keyframe_insert(path, frame=frame)
    for curve in obj.animation_data.action.fcurves:
        if curve.data_path == path:
            for point in curve.keyframe_points:
                point.interpolation = interpolation


# The target moves on a smooth (Bezier) curve, turns a quarter about the up axis at an even rate and
# doubles in size at frame 12 at once.
target = empty("Target", (0, 0, 0))
key(target, "location", 1, (0, 0, 0), "BEZIER")
key(target, "location", 12, (4, 0, 2), "BEZIER")
key(target, "location", 24, (4, -4, 2), "BEZIER")
key(target, "rotation_euler", 1, (0, 0, 0), "LINEAR")
key(target, "rotation_euler", 24, (0, 0, 1.5707963267948966), "LINEAR")
key(target, "scale", 1, (1, 1, 1), "CONSTANT")
key(target, "scale", 12, (2, 2, 2), "CONSTANT")

follower = empty("Follower", (10, 0, 0))
follower["vexilConstraints"] = [
    {"type": "Point", "target": "/root/world/Target", "args": {"targetOrigin": "origin", "baseOrigin": "origin"}}
]

camera = bpy.data.objects.new("Camera", bpy.data.cameras.new("Lens"))
camera.location = (0, -20, 5)
scene.collection.objects.link(camera)
camera["vexilConstraints"] = [
    {
        "type": "Aim",
        "target": "../Target",
        "args": {
            "targetOrigin": "origin",
            "baseAimAxis": {"float": [0.0, 0.0, -1.0]},
            "baseUpAxis": {"float": [0.0, 1.0, 0.0]},
            "targetUpAxis": {"float": [0.0, 1.0, 0.0]},
        },
    }
]

bpy.ops.mesh.primitive_cube_add(size=2, location=(3, 3, 0))
bpy.context.active_object.name = "Crate"

common = dict(export_extras=True, export_cameras=True, export_apply=True)
bpy.ops.export_scene.gltf(filepath=os.path.join(here, "shot.gltf"), export_format="GLTF_SEPARATE",
                          export_force_sampling=False, **common)
bpy.ops.export_scene.gltf(filepath=os.path.join(fixtures, "shot_sampled.glb"), export_format="GLB", **common)
