"""The language of the screens: the system's, or the one that the settings hold."""

import unittest

from log_check import TYPED_LOG, warnings_of
from screens import WAITING_TITLE
from system_case import SystemCase
from texts import texts_of

# What the system says of its user, and the language that the program speaks.
SYSTEMS = (
    ({"LANGUAGE": "fr_CA:en"}, "fr_FR"),
    ({"LANGUAGE": "", "LC_ALL": "", "LANG": "ru_RU.UTF-8"}, "ru_RU"),
    ({"LANGUAGE": "", "LC_ALL": "", "LANG": "en_US.UTF-8", "LC_MESSAGES": "it_IT.UTF-8"}, "it_IT"),
    ({"LANGUAGE": "", "LC_ALL": "es_MX.UTF-8"}, "es_ES"),
    ({"LANGUAGE": "ja"}, "ja_JP"),
    ({"LANGUAGE": "", "LC_ALL": "zh_CN.UTF-8"}, "zh_CN"),
    ({"LANGUAGE": "", "LC_ALL": "zh_TW.UTF-8"}, "zh_TW"),
    ({"LANGUAGE": "zh", "LC_ALL": "zh_HK.UTF-8"}, "zh_TW"),
    ({"LANGUAGE": "", "LC_ALL": "en_GB.UTF-8"}, "en_US"),
    ({"LANGUAGE": "ko", "LC_ALL": "ko_KR.UTF-8"}, "en_US"),
    ({"LANGUAGE": "", "LC_ALL": "C.UTF-8"}, "en_US"),
    ({"LANGUAGE": "en", "LC_ALL": "de_DE.UTF-8"}, "en_US"),
    ({"LANGUAGE": "", "LC_ALL": "de_DE.UTF-8"}, "de_DE"),
)


def title(code):
    (text,) = texts_of(code)[WAITING_TITLE]
    return text


class Language(SystemCase):
    models = ()

    def show(self, code, **words):
        """Starts the program and waits for the text of a language."""
        program = self.start(**words)
        self.stage.wait_text(title(code))
        return program

    def test_each_language_has_a_title_of_its_own(self):
        codes = {code for _, code in SYSTEMS}
        self.assertEqual(len(codes), 9)
        self.assertEqual(len({title(code) for code in codes}), 9)

    def test_the_systems_language_is_that_of_the_screens(self):
        for environment, code in SYSTEMS:
            with self.subTest(**environment):
                program = self.show(code, environment=environment)
                self.assertIn(f'Detected system language: "{code}"', program.log)
                self.assertEqual(self.stage.end_program(program), 0)

    def test_the_saved_language_goes_before_the_systems_and_stays(self):
        self.stage.store_setting("language", "de_DE")
        for language in ("fr", "ja"):
            self.stage.end_program(self.show("de_DE", language=language))

    def test_the_systems_language_is_not_saved(self):
        self.stage.end_program(self.show("fr_FR", language="fr"))
        self.stage.end_program(self.show("it_IT", language="it"))

    def test_a_saved_code_that_is_none_shows_the_source_texts(self):
        for code in ("xx_XX", "../../x", "zh_CN.qm"):
            with self.subTest(code=code):
                self.stage.store_setting("language", code)
                program = self.show("zh_CN", language="de", environment=TYPED_LOG)
                self.assertEqual([line for line in warnings_of(program.log) if "Failed to load app translation" not in line], [])
                self.assertIn("Failed to load app translation for:", program.log)
                self.stage.end_program(program)


if __name__ == "__main__":
    unittest.main()
