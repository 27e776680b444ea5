import QtTest
import VexoDeckTest

/* A test case that fails on warnings and errors in the log that the test has not announced with TestLog.expect(). */
TestCase {
    when: windowShown

    function init() {
        TestLog.begin();
    }

    function cleanup() {
        compare(TestLog.takeFaults(), []);
    }

    // The lines that contain a text.
    function linesWith(text) {
        return TestLog.lines.filter(line => line.includes(text));
    }
}
