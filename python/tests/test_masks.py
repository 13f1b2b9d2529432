"""Masks as arrays and as texts, and the detection made of one."""

import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st
from hypothesis.extra import numpy as arrays

import segmask

KINDS = ["?", "i1", "i2", "i4", "i8", "u1", "u2", "u4", "u8", "f2", "f4", "f8", "g", ">i4", ">f8"]


def test_text_of_a_mask_by_hand():
    mask = np.array([[1, 1, 1, 1], [0, 0, 0, 0]])
    assert segmask.encode_mask(mask) == "SEG1|4|2|Dw=="


def test_mask_of_a_text_by_hand():
    mask = segmask.decode_mask("SEG1|4|2|Dw==")
    assert mask.dtype == bool and mask.tolist() == [[True] * 4, [False] * 4]


@pytest.mark.parametrize("kind", KINDS)
def test_every_kind_of_number_is_taken(kind):
    assert segmask.encode_mask(np.array([[1, 0, 2, 1], [0, 0, 0, 0]], kind)) == "SEG1|4|2|DQ=="


def test_small_fractions_and_nan_are_inside_and_minus_zero_is_not():
    assert segmask.encode_mask(np.array([[1e-300, np.nan, -0.0, -1.0]])) == "SEG1|4|1|Cw=="


layouts = st.tuples(st.integers(-3, 3).filter(bool), st.integers(-3, 3).filter(bool), st.booleans())


@given(arrays.arrays(st.sampled_from(KINDS).map(np.dtype), arrays.array_shapes(min_dims=2, max_dims=2, max_side=40)), layouts)
def test_any_array_comes_back_whatever_its_layout(array, layout):
    rows, columns, transposed = layout
    view = array[::rows, ::columns]
    view = view.T if transposed else view
    assert np.array_equal(segmask.decode_mask(segmask.encode_mask(view)), view != 0)


@given(arrays.arrays(arrays.scalar_dtypes(), arrays.array_shapes(min_dims=0, max_dims=4, min_side=0, max_side=3)))
def test_what_is_no_mask_is_a_type_error_or_a_value_error(array):
    if array.dtype.kind in "biuf" and array.ndim == 2 and array.size:
        segmask.encode_mask(array)
    else:
        with pytest.raises((TypeError, ValueError), match="^mask: its (dtype|shape) "):
            segmask.encode_mask(array)


@pytest.mark.parametrize(
    "mask, error, words",
    [
        (np.zeros((2, 2), complex), TypeError, "mask: its dtype complex128 is neither boolean, integer nor floating"),
        (np.zeros((2, 2, 1)), ValueError, r"mask: its shape \(2, 2, 1\) is not \(height, width\)"),
        (np.zeros((0, 2)), ValueError, r"mask: its shape \(0, 2\)"),
        ("text", TypeError, "mask: its dtype <U4"),
        (None, TypeError, "mask: its dtype object"),
    ],
)
def test_errors_name_argument_shape_and_dtype(mask, error, words):
    with pytest.raises(error, match=words):
        segmask.encode_mask(mask)


@given(st.text(max_size=40) | st.text("SEG1|0239-=AQ \0", max_size=40).map("SEG1|".__add__))
def test_any_text_is_a_mask_or_a_value_error(text):
    try:
        mask = segmask.decode_mask(text)
    except ValueError:
        return
    assert mask.ndim == 2


@pytest.mark.parametrize(
    "text, words",
    [
        ("", "is empty"),
        ("SEG1|4|2|", "has 0 bytes, 1 are needed for 4x2"),
        ("SEG1|x|2|AA==", "width is no number"),
        ("SEG1|100000|100000|AA==", "1,250,000,000 are needed"),
    ],
)
def test_a_text_that_is_no_mask_says_why(text, words):
    with pytest.raises(ValueError, match=words):
        segmask.decode_mask(text)


def test_a_text_of_another_type_is_a_type_error():
    with pytest.raises(TypeError, match="text: a bytes, not a str"):
        segmask.decode_mask(b"SEG1|4|2|Dw==")


def test_the_box_is_the_smallest_with_all_of_the_mask():
    mask = np.zeros((6, 8))
    mask[2:4, 1:6] = 1
    found = segmask.detection(mask, class_id=3, score=0.5)
    assert found == {"x": 1, "y": 2, "w": 5, "h": 2, "class_id": 3, "score": 0.5, "class_info": segmask.encode_mask(mask)}


def test_the_box_of_a_mask_of_another_size_is_in_frame_pixels():
    mask = np.zeros((6, 8))
    mask[2:4, 1:6] = 1
    found = segmask.detection(mask, size=(20, 9))  # 2.5 and 1.5 pixels for one of the mask's
    assert [found[key] for key in "xywh"] == [2, 3, 13, 3]


def test_an_empty_mask_has_an_empty_box():
    assert [segmask.detection(np.zeros((2, 2)))[key] for key in "xywh"] == [0, 0, 0, 0]


def test_a_given_box_grows_to_whole_pixels():
    found = segmask.detection(np.ones((2, 2)), box=np.array([1.5, -2.5, 3.0, 1.0], np.float32))
    assert [found[key] for key in "xywh"] == [1, -3, 4, 2]
    assert all(type(found[key]) is int for key in "xywh")


def test_numbers_become_pythons_own():
    found = segmask.detection(np.ones((2, 2)), class_id=np.uint8(7), score=np.float32(0.5))
    assert (type(found["class_id"]), type(found["score"])) == (int, float)


@pytest.mark.parametrize(
    "options, error, words",
    [
        ({"box": (1, 2, 3)}, ValueError, "box"),
        ({"box": (1, 2, 3, float("nan"))}, ValueError, "box"),
        ({"box": 5}, TypeError, "box"),
        ({"class_id": 1.5}, TypeError, "class_id: 1.5 is no whole number"),
        ({"score": "high"}, TypeError, "score: 'high' is no number"),
        ({"score": float("inf")}, ValueError, "score: inf is not finite"),
        ({"size": (0, 2)}, ValueError, "size: 0 and 2 are not from 1 to 65535"),
        ({"size": 7}, TypeError, "size: 7 is not"),
    ],
)
def test_errors_of_a_detection_name_the_argument(options, error, words):
    with pytest.raises(error, match=words):
        segmask.detection(np.ones((2, 2)), **options)
