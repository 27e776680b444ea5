import QtQml

/* A document that loads and of which no object can be made by those who know nothing of its property. */
QtObject {
    required property string secret
}
