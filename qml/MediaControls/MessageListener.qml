import QtQuick

/*
    Subscribes to topics of MessageBus from its completion to its destruction. The list of topics is read at
    completion; a later change has no effect on the subscriptions.
*/
Item {
    id: listener

    // A list of topics.
    property var messageTypes: []
    // function (messageType, data)
    property var onMessage: null

    QtObject {
        id: subscription

        property var topics: []
    }

    function handleMessage(messageType: string, data: var) {
        const receive = onMessage;
        if (receive)
            receive(messageType, data);
    }

    Component.onCompleted: {
        subscription.topics = messageTypes.slice();
        for (const topic of subscription.topics)
            MessageBus.subscribe(topic, handleMessage);
    }
    Component.onDestruction: {
        for (const topic of subscription.topics)
            MessageBus.unsubscribe(topic, handleMessage);
    }
}
