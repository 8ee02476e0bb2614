import xml.etree.ElementTree as ElementTree

import tarvguitar

SVG = "{http://www.w3.org/2000/svg}svg"


def test_repr_svg_is_one_svg_document():
    shape = tarvguitar.shapes("Cmaj7")[0]
    text = shape._repr_svg_()
    root = ElementTree.fromstring(text)
    assert root.tag in (SVG, "svg")
    assert not [element for element in root.iter() if element.tag in (SVG, "svg")][1:]
    assert root.get("class") == "chord-diagram"
    assert text.count("chord-diagram") == 1
    assert text == shape.svg()
    assert "Cmaj7" in text


def test_svg_options_change_the_drawing():
    shape = tarvguitar.shapes("F")[0]
    plain = shape.svg()
    left = shape.svg(left_handed=True)
    across = shape.svg(horizontal=True)
    assert len({plain, left, across}) == 3
    for text in (left, across):
        ElementTree.fromstring(text)


def test_a_capo_is_drawn_and_named():
    plain = tarvguitar.shapes("D")[0].svg()
    with_capo = tarvguitar.shapes("D", capo=2)[0].svg()
    assert "capo" not in plain
    assert 'class="capo"' in with_capo
    assert ">capo 2<" in with_capo
    ElementTree.fromstring(with_capo)


def test_notation_without_chord_draws_too():
    ElementTree.fromstring(tarvguitar.notation("x,3,2,0,1,0")._repr_svg_())
