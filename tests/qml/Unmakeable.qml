import QtQml

/* A document that loads, and whose object cannot be created without its property. */
QtObject {
    required property string secret
}
