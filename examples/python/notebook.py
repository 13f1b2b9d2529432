# %% [markdown]
# # Drawing in process
# The cells of this file run one by one in an editor that knows `# %%`, and all at once by `python notebook.py`, which then
# writes the pictures beside each other into notebook.png. Needs PyAV and matplotlib.

# %%
import av
import matplotlib.pyplot as plt
import numpy as np

import segmask

# %% A frame of 640x360 in NV12: a grey ramp.
WIDTH, HEIGHT = 640, 360
y = np.broadcast_to(np.linspace(40, 200, WIDTH).astype(np.uint8), (HEIGHT, WIDTH)).copy()
uv = np.full((HEIGHT // 2, WIDTH), 128, np.uint8)


def rgb(y, uv):
    """The frame for the screen."""
    frame = av.VideoFrame.from_ndarray(np.concatenate([y, uv]), format="nv12")
    return frame.to_ndarray(format="rgb24")


before = rgb(y, uv)

# %% Masks may be smaller than the frame. These are of a quarter of its width and height.
rows, columns = np.ogrid[: HEIGHT // 4, : WIDTH // 4]
detections = [
    segmask.detection(np.hypot(columns - 30 - 25 * i, rows - 45) < 22, class_id=i, score=0.5 + i / 10, size=(WIDTH, HEIGHT))
    for i in range(5)
]

# %% Drawn in place.
segmask.Overlay(min_score=0.6).draw(y, uv, detections)

# %% What was drawn, and why not.
for reasons in segmask.explain(detections, (WIDTH, HEIGHT), min_score=0.6):
    print(reasons)

# %% The pictures.
figure, axes = plt.subplots(1, 2, figsize=(12, 4))
for axis, picture, title in zip(axes, (before, rgb(y, uv)), ("before", "after")):
    axis.imshow(picture)
    axis.set_title(title)
    axis.axis("off")
if plt.get_backend().lower() == "agg":
    figure.savefig("notebook.png")
else:
    plt.show()
